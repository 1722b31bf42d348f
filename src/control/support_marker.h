#pragma once

#include <string>

/// The path of the AP's support marker, a file whose existence alone says that the AP fetches
/// updates by itself. The MAC has to be well formed (is_mac), because it names the file.
std::string support_marker(const std::string& mac);
