#pragma once
// Values of settings: a text in the configuration, or where it comes from.

#include "exporter/yaml_value.hpp"

#include <filesystem>
#include <string>

namespace tarvik::monitoring_modules::probe {

class value_source final {
  public:
    /// @param file of the configuration: relative paths begin in its folder
    explicit value_source(const std::string& file);

    /// Takes a text, or one of {file: PATH}, {env: NAME} and {credential: NAME}, a file in
    /// $CREDENTIALS_DIRECTORY. A line end behind the only line of a file is no part of it.
    /// @throws config_mistake when it is none of these, or what it names is not there
    [[nodiscard]] std::string read(const yaml_value& value) const;

    /// The same for a secret.
    /// @throws config_mistake also for a secret in a file that everybody can read, the
    /// configuration included
    [[nodiscard]] std::string secret(const yaml_value& value) const;

    [[nodiscard]] std::string path(const std::string& text) const;

  private:
    std::filesystem::path folder_;
    bool open_; // to all users of the machine
};

} // namespace tarvik::monitoring_modules::probe
