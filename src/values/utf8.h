#pragma once

#include <cstddef>
#include <string_view>

/// Bytes of the UTF-8 character that `text` begins with; 0 when it is empty or begins with none.
/// Overlong forms, surrogates and what lies beyond U+10FFFF are none.
std::size_t utf8_length(std::string_view text);

/// Whether all of `text` is UTF-8.
bool is_utf8(std::string_view text);
