#pragma once
// Single settings that the command line gives by their keys: --set and --set-file.

#include "probe/cli_options.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct given_setting {
    std::string key; ///< as it was typed, perhaps shortened
    std::string text;
    std::string file;         ///< where the text comes from; empty: the command line
    bool open_to_all = false; ///< everybody can read the file
};

/// @return those of --set, then those of --set-file, each in the order given
/// @throws probe_error (usage) without a key, for a secret on the command line, and for a file that
/// cannot be read
[[nodiscard]] std::vector<given_setting> read_given(const connection_arguments& arguments);

/// @throws probe_error (usage), always
[[noreturn]] void refuse_secret(const std::string& key);

/// @return whether the last part of the key is a name that secrets have, with any module
[[nodiscard]] bool names_secret(std::string_view key);

} // namespace tarvik::monitoring_modules::probe
