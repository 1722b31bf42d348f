#include "building/text.h"

#include <strings.h>

#include <charconv>
#include <sstream>

namespace lab {

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

Words words_of(std::string_view text) {
  Words words;
  std::istringstream stream{std::string(text)};
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

Words pieces_of(std::string_view text, char separator) {
  Words pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.emplace_back(trimmed(text.substr(0, end)));
    if (end == std::string_view::npos) {
      return pieces;
    }
    text.remove_prefix(end + 1);
  }
}

std::optional<double> number_in(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() ? std::optional(number)
                                                                  : std::nullopt;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace lab
