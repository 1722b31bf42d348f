#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Small things around texts and files that several parts of the lab need.

namespace lab {

using Words = std::vector<std::string>;

std::string_view trimmed(std::string_view text);
/// The words of `text` between blanks.
Words words_of(std::string_view text);
/// The pieces of `text` between separators, trimmed.
Words pieces_of(std::string_view text, char separator);
Words lines_of(std::string_view text);
/// None when the text is no whole decimal number.
std::optional<double> number_in(std::string_view text);
bool equal_ignoring_case(std::string_view a, std::string_view b);

std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

/// None when the file cannot be read.
std::optional<std::string> file_text(const std::string& path);
/// Whether all of `text` was written.
bool write_text(const std::string& path, std::string_view text);

}  // namespace lab
