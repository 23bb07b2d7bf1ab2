#pragma once
// Files that are written for a person, who may have one of the same name already.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @param replace what is there may go
/// @throws probe_error (usage) when there is something of this name that may not go
void require_new_file(const std::string& path, bool replace);

/// Writes a file that its owner may write, and his group read. One that is replaced is whole at any
/// time, the old one or the new one.
/// @throws probe_error (error) when it cannot be written, and where one appeared that may not go
void write_new_file(const std::string& path, std::string_view text, bool replace);

} // namespace tarvik::monitoring_modules::probe
