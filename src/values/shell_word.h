#pragma once

#include <string>
#include <string_view>

/// `text` as one word of a shell command line: as it is when it is not empty and made of A-Z a-z 0-9
/// . _ : / + @ % = , - alone, else between single quotes.
std::string shell_word(std::string_view text);

/// `text` for between the double quotes of a shell command line, where it comes out byte for byte.
std::string within_double_quotes(std::string_view text);
