#pragma once

#include <string>
#include <string_view>

/// `text` as one word of a shell command line: as it is when it is made of A-Z a-z 0-9 . _ : / + @
/// % = , - alone and not empty, else between single quotes.
std::string shell_word(std::string_view text);

/// `text` for between the double quotes of a shell command line, where it comes out byte for byte:
/// what means something to the shell there is marked as text.
std::string within_double_quotes(std::string_view text);
