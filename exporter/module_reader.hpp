#pragma once
// The modules of a configuration, of all its files.

#include "exporter/config_defaults.hpp"
#include "exporter/config_files.hpp"
#include "exporter/scan_module.hpp"
#include "trust/pki_folder.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class module_reader final {
  public:
    /// @param document must outlive this object
    /// @param complete whether all files could be read
    module_reader(const module_document& document, pki_folder certificates, bool complete);

    /// Reads the member "modules" of a file. Whatever is wrong is told; a module that has mistakes
    /// is known, but not usable.
    void read(const config_file& file, const config_defaults& defaults);

    /// @return whether all modules are known by their names
    [[nodiscard]] bool complete() const noexcept { return complete_; }

    struct known_module {
        std::optional<scan_module> usable; ///< nothing: it has mistakes
        yaml_value place;
    };
    [[nodiscard]] const std::map<std::string, known_module>& modules() const noexcept {
        return modules_;
    }

  private:
    [[nodiscard]] std::optional<scan_module>
    read_module(const yaml_value& node, const value_source& values, const config_defaults&);
    /// @return the kind of which the rest is read, to tell all mistakes at once: for an unknown one
    /// that which may be meant; empty when there is none
    [[nodiscard]] std::string read_kind(const yaml_value& node) const;
    static void read_channels(const yaml_value& node, scan_module& module);
    [[nodiscard]] static placed_settings
    read_settings(const yaml_value& node, const settings_form& form, const value_source& values);
    [[nodiscard]] bool
    take_certificate(const yaml_value& node, const placed_settings& given, scan_module& module);
    static void check(
        const yaml_value& node,
        const settings_form& form,
        const placed_settings& given,
        const scan_module& module
    );
    void require_same_trust(const yaml_value& node, const scan_module& added) const;
    void number_user(scan_module& module);

    const module_document& document_;
    const pki_folder certificates_;
    std::map<std::string, known_module> modules_;
    std::vector<std::string> users_;
    bool complete_;
    bool misses_certificate_ = false; // which was told
};

} // namespace tarvik::monitoring_modules::probe
