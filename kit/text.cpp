#include "kit/text.h"

#include <cstdarg>
#include <cstdio>
#include <sstream>

namespace kit {

Lines lines_of(std::string_view text) {
  Lines lines;
  std::istringstream stream{std::string(text)};
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string format(const char* text, ...) {
  std::va_list values;
  va_start(values, text);
  std::va_list again;
  va_copy(again, values);
  std::string result(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, text, values)), '\0');
  std::vsnprintf(result.data(), result.size() + 1, text, again);
  va_end(again);
  va_end(values);
  return result;
}

}  // namespace kit
