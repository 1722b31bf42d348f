#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "kit/text.h"

namespace kit {

/// Whether there is something of that name; a link counts, wherever it leads.
bool exists(const std::string& path);

/// The file's bytes; none when it cannot be read.
std::optional<std::string> read_file(const std::string& path);

/// The file's bytes; empty when it cannot be read.
std::string content(const std::string& path);

/// Gives the file these bytes, making it if need be; whether all of them were written.
bool write_file(const std::string& path, std::string_view bytes);

/// Sets the time of the last change of the file, or of the link itself, to so long ago.
void set_age(const std::string& path, std::chrono::seconds age);

/// Names in a directory, sorted; throws std::filesystem::filesystem_error when it cannot be read.
Lines names_in(const std::string& directory);

}  // namespace kit
