#pragma once

#include <string>
#include <string_view>

/// `text` with its control bytes, line feeds among them, as "\x0A": what is in a log cannot look
/// like a line of its own, nor move a terminal's cursor. Other bytes stay, whatever their encoding.
std::string visible_text(std::string_view text);

/// The same, but line feeds stay.
std::string visible_lines(std::string_view text);

/// `text` for a terminal that speaks UTF-8: control characters and bytes that belong to no UTF-8
/// character become "\x1b" and the like.
std::string printable_text(std::string_view text);
