#pragma once

#include <string>
#include <string_view>

/// `text`, any bytes, as a JSON string in UTF-8, quotes included. Control characters are escaped;
/// each byte that belongs to no UTF-8 character becomes U+FFFD.
std::string json_text(std::string_view text);

/// `text`, any bytes, for a terminal: control characters and bytes that belong to no UTF-8 character
/// become "\x1b" and the like.
std::string printable_text(std::string_view text);
