#include "control/shell_word.h"

namespace {

constexpr std::string_view kHarmless =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:/+@%=,-";

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
