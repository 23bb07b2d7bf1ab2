#pragma once
// Which settings a sensor, check or notification has, as the module describes them, and whether
// given ones fit.

#include "host/connection_arguments.hpp"
#include "host/module_document.hpp"
#include "host/settings_record.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Refers to the document, which must outlive it. A kind that the document does not describe has a
/// form that takes everything: the module will tell what it thinks of it.
class settings_form final {
  public:
    [[nodiscard]] static settings_form
    of_sensor(const module_document& document, const std::string& kind);
    [[nodiscard]] static settings_form
    of_check(const module_document& document, const std::string& kind);
    [[nodiscard]] static settings_form of_notification(const module_document& document);
    /// Of a connection alone, without a module.
    [[nodiscard]] static settings_form of_connection();

    /// Adds settings given by their keys; they replace those that are there, and later ones earlier
    /// ones.
    /// @param warn gets a warning for each secret in a file that everybody can read
    /// @throws probe_error (usage) for an unknown or ambiguous key, and for a secret on the command
    /// line
    void
    add(settings& to, const std::vector<given_setting>& given, const warning_receiver& warn) const;

    /// @param typed a key, perhaps shortened to its unique end
    /// @param place where it stands, for the error
    /// @throws probe_error (usage) for an unknown or ambiguous key
    [[nodiscard]] std::string full_key(const std::string& typed, const std::string& place) const;

    [[nodiscard]] bool is_secret(std::string_view key) const;

    struct problem {
        std::string key;
        std::string text; ///< names the setting
    };
    /// @return each setting that is required and missing, or holds what it may not hold
    [[nodiscard]] std::vector<problem> problems(const settings& values) const;

    /// @throws probe_error (usage) with the first of these problems
    void check(const settings& values) const;

  private:
    /// @param sections of the document; null: what there is, is not known
    settings_form(
        std::string what,
        std::vector<std::string> host_keys,
        const module_document& document,
        const std::vector<std::string>* sections
    );

    [[nodiscard]] const module_setting* find(std::string_view key) const;
    [[nodiscard]] bool
    is_shown(const module_setting& setting, const settings& values, std::size_t steps) const;

    std::string what_;              // whose form it is
    std::vector<std::string> keys_; // with those that the module does not describe
    std::vector<const module_setting*> settings_;
    bool described_;
};

/// What the command line says about the settings of one sensor, check or notification.
struct settings_draft {
    settings values; ///< from options, by their full keys
    std::vector<given_setting> given;
};

/// @return the JSON record of the completed and checked settings
/// @throws probe_error (usage)
[[nodiscard]] std::string complete_record(
    std::string_view kind,
    const settings_draft& draft,
    const settings_form& form,
    const warning_receiver& warn
);

} // namespace tarvik::monitoring_modules::probe
