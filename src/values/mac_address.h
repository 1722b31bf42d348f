#pragma once

#include <string_view>

/// The address of no device: what stands for a MAC that is not given.
inline constexpr const char* kNoMac = "00:00:00:00:00:00";

/// Whether `text` is a MAC address: 17 characters, six groups of two hexadecimal digits (either
/// case) joined by ":". A text that is to become part of a path or a command line has to pass.
bool is_mac(std::string_view text);
