#pragma once
// A value in a YAML file and where it stands, so that every error names the line and the place.

#include <yaml-cpp/yaml.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// All functions throw probe_error (usage) when the file holds something else than is asked for.
class config_node final {
  public:
    /// @param file shown in errors
    /// @param text of the file
    [[nodiscard]] static config_node parse(const std::string& text, const std::string& file);

    /// @return whether this is a mapping
    [[nodiscard]] bool is_mapping() const { return node_.IsMap(); }

    /// @return nothing when the member is absent or null
    [[nodiscard]] std::optional<config_node> find(const std::string& name) const;
    [[nodiscard]] config_node required(const std::string& name) const;

    /// @return the members of a mapping in their order
    [[nodiscard]] std::vector<std::pair<std::string, config_node>> members() const;
    [[nodiscard]] std::vector<config_node> items() const;

    /// A mapping with other members is an error, which names the nearest one that is meant.
    void allow_only(std::initializer_list<const char*> names) const;

    /// @return the text of a scalar, as it was written
    [[nodiscard]] std::string text() const;
    [[nodiscard]] std::int64_t integer(std::int64_t lowest, std::int64_t highest) const;

    /// "500ms", "10s", "2m", "1h", or a number of seconds.
    [[nodiscard]] std::chrono::milliseconds
    duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const;

    // What is there, or else the fallback.
    [[nodiscard]] std::string text_of(const std::string& name, const std::string& fallback) const;
    [[nodiscard]] std::int64_t integer_of(
        const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
    ) const;
    [[nodiscard]] std::vector<std::string> texts_of(const std::string& name) const;

    [[noreturn]] void fail(const std::string& problem) const;

  private:
    config_node(const YAML::Node& node, std::string place, std::string file);

    [[nodiscard]] config_node at(const YAML::Node& node, const std::string& name) const;

    YAML::Node node_;
    std::string place_; // "sensors[2].interval"; empty for the whole file
    std::string file_;
};

} // namespace tarvik::monitoring_modules::probe
