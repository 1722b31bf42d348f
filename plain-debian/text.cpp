#include "platform/text.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <utility>

std::optional<std::string> my_format(const char* format, std::va_list values) {
  std::array<char, 512> buffer{};
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, values);
  std::string text;
  if (length >= 0 && static_cast<std::size_t>(length) < buffer.size()) {
    text.assign(buffer.data(), static_cast<std::size_t>(length));
  } else if (length >= 0) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return length < 0 ? std::nullopt : std::optional<std::string>(std::move(text));
}

std::string my_string(std::string previous, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> text = my_format(format, values);
  va_end(values);
  if (text) {
    previous += *text;
  }
  return previous;
}

std::string M(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  std::optional<std::string> text = my_format(format, values);
  va_end(values);
  return std::move(text).value_or("");
}

std::string my_tolower(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') {
      letter = static_cast<char>(letter - 'A' + 'a');
    }
  }
  return text;
}

std::string my_getDate(int /*which*/) {
  const std::time_t now = std::time(nullptr);
  std::tm day{};
  localtime_r(&now, &day);
  std::array<char, 16> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d", &day)};
}
