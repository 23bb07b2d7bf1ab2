#pragma once
// Values of settings in a configuration: a text, or where it comes from.

#include "probe/serve/config_node.hpp"

#include <filesystem>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct config_value {
    std::string text;
    bool from_outside = false; ///< of a file, the environment or a systemd credential
};

class config_values final {
  public:
    /// @param folder where relative paths begin: the configuration's own
    explicit config_values(std::filesystem::path folder) : folder_{std::move(folder)} {}

    /// Takes a text, or one of {file: PATH}, {env: NAME} and {credential: NAME}, a file in
    /// $CREDENTIALS_DIRECTORY. A line end at the end of what comes from outside is no part of it,
    /// unless it has several lines.
    /// @throws probe_error (usage) when it is none of these, or what it names is not there
    [[nodiscard]] config_value read(const config_node& value) const;

    /// The same for a secret.
    /// @param open whether others than owner and group can read the configuration
    /// @throws probe_error (usage) also for a secret in a file that everybody can read, the
    /// configuration included
    [[nodiscard]] std::string secret(const config_node& value, bool open) const;

    [[nodiscard]] std::string path(const std::string& text) const;

  private:
    std::filesystem::path folder_;
};

} // namespace tarvik::monitoring_modules::probe
