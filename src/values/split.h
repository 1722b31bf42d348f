#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// The results are views of the given text.

/// The fields of `text` between separators, at most `most` of them: the last one then takes the rest,
/// separators included. A text without a separator, even an empty one, is one field.
std::vector<std::string_view> str_split(std::string_view text, char separator, std::size_t most);

/// The first word of `text`, between blanks (space, tab, line ends and the like); empty when there
/// is none. Cut to `longest` bytes.
std::string_view first_word(std::string_view text, std::size_t longest);

/// The second word, likewise.
std::string_view second_word(std::string_view text, std::size_t longest);
