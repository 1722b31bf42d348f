#pragma once

#include <cstdint>
#include <string>

#include "platform/text.h"

/// Removes the file of the formatted path. Returns 0, also for a missing file, or -1 when the file is
/// still there, which is reported.
int my_rm(const char* format, ...) AP_PRINTF(1, 2);

/// Makes `link_path` a symbolic link to `target`. Returns 0, or -1, as when something of that name
/// exists.
int my_symlink(const std::string& target, const std::string& link_path);

/// Whether `path` names a regular file; symbolic links are followed.
bool isRegularFile(const std::string& path);

/// Whether `path` names a directory; symbolic links are followed.
bool isDirectory(const std::string& path);

/// When the file was made or last written, in seconds since the epoch; -1 for no file.
std::int64_t my_file_create_time(const std::string& path);
