#pragma once
// Files that several processes and people use at once: whoever reads one gets all of one version.

#include "host/file_descriptor.hpp"

#include <filesystem>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Makes a folder and those above it that are missing, for this user alone. What root makes in
/// somebody's folder belongs to that user, as the files do: an administrator's command serves the
/// service whose folder it is.
/// @throws probe_error (error)
void make_shared_folder(const std::filesystem::path& path);

enum class readers { all, owner };

/// Puts a file in the place of the one that is there, in a folder that is made where it is missing.
/// @throws probe_error (error)
void replace_file(
    const std::filesystem::path& path, std::string_view bytes, readers for_whom = readers::all
);

/// Waits until no other process holds the lock, for 2 s at most: it is held no longer than a small
/// file takes, and a process that was stopped must hold up nobody.
/// @param path of the lock's file, in a folder that exists
/// @param holder gets the file, which holds the lock until it is closed
/// @throws probe_error (error)
void lock_file(const std::filesystem::path& path, file_descriptor& holder);

} // namespace tarvik::monitoring_modules::probe
