#pragma once
// A value in a YAML file and where it stands, so that every error names both; and values of
// settings: a text, or where it comes from.

#include <yaml-cpp/yaml.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// All functions throw probe_error (usage) when the file holds something else than is asked for.
class yaml_value final {
  public:
    /// @param file shown in errors
    [[nodiscard]] static yaml_value parse(const std::string& text, const std::string& file);

    [[nodiscard]] bool is_mapping() const { return node_.IsMap(); }

    /// @return nothing when the member is absent or null
    [[nodiscard]] std::optional<yaml_value> find(const std::string& name) const;
    [[nodiscard]] yaml_value required(const std::string& name) const;

    /// @return the members of a mapping in their order
    [[nodiscard]] std::vector<std::pair<std::string, yaml_value>> members() const;
    [[nodiscard]] std::vector<yaml_value> items() const;

    /// A mapping with other members is an error, which names the nearest one that is meant.
    void allow_only(std::initializer_list<const char*> names) const;

    /// @return the text of a scalar, as it was written
    [[nodiscard]] std::string text() const;

    /// "500ms", "10s", "2m", "1h", or a number of seconds.
    [[nodiscard]] std::chrono::milliseconds
    duration(std::chrono::milliseconds shortest, std::chrono::milliseconds longest) const;

    // What is there, or else the fallback.
    [[nodiscard]] std::string text_of(const std::string& name, const std::string& fallback) const;
    [[nodiscard]] std::int64_t integer_of(
        const std::string& name, std::int64_t lowest, std::int64_t highest, std::int64_t fallback
    ) const;
    /// @return whether the member is there and says the other of two words; any third is an error
    [[nodiscard]] bool
    is_chosen(const std::string& name, const std::string& usual, const std::string& other) const;
    [[nodiscard]] std::vector<std::string> texts_of(const std::string& name) const;

    [[noreturn]] void fail(const std::string& problem) const;

  private:
    yaml_value(const YAML::Node& node, std::string place, std::string file);

    [[nodiscard]] yaml_value at(const YAML::Node& node, const std::string& name) const;

    YAML::Node node_;
    std::string place_; // "sensors[2].interval"; empty for the whole file
    std::string file_;
};

class value_source final {
  public:
    /// @param folder where relative paths begin: the configuration's own
    explicit value_source(std::filesystem::path folder) : folder_{std::move(folder)} {}

    /// Takes a text, or one of {file: PATH}, {env: NAME} and {credential: NAME}, a file in
    /// $CREDENTIALS_DIRECTORY. A line end behind the only line of a file is no part of it.
    /// @throws probe_error (usage) when it is none of these, or what it names is not there
    [[nodiscard]] std::string read(const yaml_value& value) const;

    /// The same for a secret.
    /// @param open whether others than owner and group can read the configuration
    /// @throws probe_error (usage) also for a secret in a file that everybody can read, the
    /// configuration included
    [[nodiscard]] std::string secret(const yaml_value& value, bool open) const;

    [[nodiscard]] std::string path(const std::string& text) const;

  private:
    std::filesystem::path folder_;
};

} // namespace tarvik::monitoring_modules::probe
