#include "values/shell_word.h"

namespace {

constexpr std::string_view kHarmless =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:/+@%=,-";

/// What has a meaning to the shell between double quotes.
constexpr std::string_view kActiveInQuotes = "\\\"$`";

}  // namespace

std::string shell_word(std::string_view text) {
  if (!text.empty() && text.find_first_not_of(kHarmless) == std::string_view::npos) {
    return std::string(text);
  }
  std::string word = "'";
  for (const char letter : text) {
    if (letter == '\'') {
      word += "'\\''";  // closes the quotes, adds a quote of its own, opens them again
    } else {
      word += letter;
    }
  }
  return word + "'";
}

std::string within_double_quotes(std::string_view text) {
  std::string quoted;
  for (const char letter : text) {
    if (kActiveInQuotes.find(letter) != std::string_view::npos) {
      quoted += '\\';
    }
    quoted += letter;
  }
  return quoted;
}
