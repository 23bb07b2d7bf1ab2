#pragma once
// A configuration of opcua-probe serve in the making: which modules and sensors it is to have. How
// it is written is config_text's.

#include "explorer/channels.hpp"
#include "host/connection_arguments.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// More values of one server than this nobody wants to scan without having chosen them.
inline constexpr std::size_t most_chosen = 1000;

/// A setting and where its text comes from. No secret is a text.
struct planned_setting {
    enum class source { text, file, environment };
    std::string key; ///< as serve takes it
    std::string text;
    source from = source::text;
    bool operator==(const planned_setting&) const = default;
};

/// How sensors get into a server.
struct access_settings {
    std::vector<planned_setting> settings;
    bool any_certificate = false;
    bool plain_password = false;
    bool operator==(const access_settings&) const = default;
};

struct planned_access {
    std::string address; ///< "plc-7:4840"
    access_settings how;
};

/// What the options of a command line are in a configuration: secrets as the files or variables
/// from which they came, paths made absolute.
/// @throws probe_error (usage) as given_settings
[[nodiscard]] planned_access access_of(const connection_arguments& arguments);

/// @return the folder of certificates, absolute; empty for the usual one
[[nodiscard]] std::string pki_of(const connection_arguments& arguments);

struct planned_module {
    std::string name;
    std::string kind;
    access_settings access;
    std::vector<chosen_channel> channels; ///< of a custom sensor, at most 10
};

struct planned_sensor {
    std::string name;
    std::string module;
    std::string target;
    std::string interval;
};

struct config_plan {
    std::vector<std::string> comments; ///< at its head; any texts
    std::string pki;
    std::vector<planned_module> modules;
    std::vector<planned_sensor> sensors;

    /// Adds a sensor without channels; sensors of one kind and with equal access share a module.
    /// @param what it tells of, such as "status"; a part of names
    void add_sensor(
        const planned_access& access,
        const std::string& kind,
        const std::string& what,
        const std::string& interval
    );

    /// Adds as many custom sensors as the channels need.
    void add_values(const planned_access& access, const std::vector<chosen_channel>& channels);

  private:
    /// @return the name, with a number behind where there is such a module
    [[nodiscard]] std::string free_module_name(const std::string& wanted) const;
    [[nodiscard]] std::string free_sensor_name(const std::string& wanted) const;
};

/// @return what a person is to know about a choice, one line for each
[[nodiscard]] std::vector<std::string> choice_notes(const channel_choice& choice);

} // namespace tarvik::monitoring_modules::probe
