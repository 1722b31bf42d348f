#include "values/split.h"

#include <algorithm>

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

std::string_view without_leading_blanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

}  // namespace

std::vector<std::string_view> str_split(std::string_view text, char separator, std::size_t most) {
  std::vector<std::string_view> fields;
  while (fields.size() + 1 < most) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) {
      break;
    }
    fields.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  fields.push_back(text);
  return fields;
}

std::string_view first_word(std::string_view text, std::size_t longest) {
  text = without_leading_blanks(text);
  return text.substr(0, std::min(text.find_first_of(kBlanks), longest));
}

std::string_view second_word(std::string_view text, std::size_t longest) {
  text = without_leading_blanks(text);
  return first_word(text.substr(std::min(text.find_first_of(kBlanks), text.size())), longest);
}
