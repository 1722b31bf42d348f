#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts of any bytes, for people and mails.

/// `text` with its control bytes, line feeds among them, as "\x0A", so that in a log it cannot look
/// like a line of its own, nor move a terminal's cursor. Other bytes stay, whatever their encoding.
std::string visible_text(std::string_view text);

/// The same, but line feeds stay.
std::string visible_lines(std::string_view text);

/// `text` for a UTF-8 terminal: control characters and bytes that belong to no UTF-8 character become
/// "\x1b" and the like.
std::string printable_text(std::string_view text);

/// Bytes of the UTF-8 character that `text` begins with; 0 when it is empty or begins with none.
/// Overlong forms, surrogates and code points above U+10FFFF are no characters.
std::size_t utf8_length(std::string_view text);

/// Whether all of `text` is UTF-8.
bool is_utf8(std::string_view text);
