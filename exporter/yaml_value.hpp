#pragma once
// A value in a YAML file and where it stands, so that every mistake names both. Mistakes go to a
// report; what does not depend on them is read on.

#include "exporter/config_report.hpp"
#include "host/probe_error.hpp"
#include <yaml-cpp/yaml.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Something in the file cannot be used; to be caught by yaml_value::attempt.
class config_mistake final : public usage_error {
  public:
    explicit config_mistake(config_remark remark)
        : usage_error{remark.problem},
          remark_{std::move(remark)} {}
    [[nodiscard]] const config_remark& remark() const noexcept { return remark_; }

  private:
    config_remark remark_;
};

class yaml_value final {
  public:
    /// @param report gets a mistake when this is no YAML; must outlive all values
    /// @param file its number in the report
    /// @return nothing when it cannot be read
    [[nodiscard]] static std::optional<yaml_value>
    parse(const std::string& text, config_report& report, std::size_t file);

    [[nodiscard]] bool is_mapping() const { return node_.IsMap(); }
    [[nodiscard]] bool is_sequence() const { return node_.IsSequence(); }
    [[nodiscard]] bool is_null() const { return node_.IsNull(); }
    [[nodiscard]] std::size_t member_count() const { return node_.size(); }
    [[nodiscard]] const config_place& place() const noexcept { return remark_.place; }
    [[nodiscard]] config_report& report() const noexcept { return *report_; }

    // @throws config_mistake when there is something else than is asked for

    /// @return nothing when the member is absent or null
    [[nodiscard]] std::optional<yaml_value> find(const std::string& name) const;
    [[nodiscard]] yaml_value required(const std::string& name) const;
    [[nodiscard]] std::vector<yaml_value> items() const;
    /// @return the text of a scalar, as it was written
    [[nodiscard]] std::string text() const;
    /// "500ms", "10s", "2m", "1h", or a number of seconds.
    [[nodiscard]] std::chrono::milliseconds
    duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const;
    /// @return the members of a mapping in their order; one that stands there twice is told, and
    /// the first one counts
    [[nodiscard]] std::vector<std::pair<std::string, yaml_value>> members() const;

    // What is there, or else the fallback, also when a mistake had to be told.

    [[nodiscard]] std::string text_of(const std::string& name, const std::string& fallback) const;
    [[nodiscard]] std::int64_t integer_of(
        const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
    ) const;
    /// @return whether the member is there and says the other of two words; any third is a mistake
    [[nodiscard]] bool
    is_chosen(const std::string& name, const std::string& usual, const std::string& other) const;
    [[nodiscard]] std::vector<yaml_value> items_of(const std::string& name) const;
    [[nodiscard]] std::vector<std::string> texts_of(const std::string& name) const;

    /// Tells each member of a mapping with another name, and the nearest name that is meant.
    void allow_only(std::initializer_list<const char*> names) const;

    [[noreturn]] void fail(const std::string& problem) const;
    void mistake(const std::string& problem) const { report_->mistake(with(problem)); }
    void warn(const std::string& problem) const { report_->warning(with(problem)); }

    /// Tells what an action throws: a mistake where it is, another probe_error as one of this
    /// value.
    /// @return whether it threw nothing
    template <typename Action>
    bool attempt(const Action& action) const {
        try {
            action();
            return true;
        } catch (const config_mistake& found) {
            report_->mistake(found.remark());
        } catch (const probe_error& error) {
            mistake(error.what());
        }
        return false;
    }

  private:
    yaml_value(const YAML::Node& node, config_report& report, config_remark remark);

    [[nodiscard]] yaml_value
    at(const YAML::Node& node, const YAML::Mark& mark, const std::string& member) const;
    [[nodiscard]] config_remark with(const std::string& problem) const;

    YAML::Node node_;
    config_report* report_;
    config_remark remark_; // without a problem; a member's place is that of its name
};

} // namespace tarvik::monitoring_modules::probe
