#pragma once

#include <optional>
#include <string_view>

#include "kit/text.h"

// Small things around texts that several parts of the lab need.

namespace lab {

using kit::format;
using kit::lines_of;
using kit::Words;

std::string_view trimmed(std::string_view text);
/// The words of `text` between blanks.
Words words_of(std::string_view text);
/// The pieces of `text` between separators, trimmed.
Words pieces_of(std::string_view text, char separator);
/// None when the text is no whole decimal number.
std::optional<double> number_in(std::string_view text);
bool equal_ignoring_case(std::string_view a, std::string_view b);

}  // namespace lab
