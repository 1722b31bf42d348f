#include "values/visible_text.h"

#include <algorithm>

#include "platform/text.h"
#include "values/utf8.h"

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7F;

enum class LineFeeds { stay, shown };

std::string visible(std::string_view text, LineFeeds line_feeds) {
  std::string shown;
  shown.reserve(text.size());
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    const bool stays =
        letter == '\n' ? line_feeds == LineFeeds::stay : byte >= kFirstPrintable && byte != kDelete;
    if (stays) {
      shown += letter;
    } else {
      shown.append("\\x").append(1, kHexDigits[byte / 16]).append(1, kHexDigits[byte % 16]);
    }
  }
  return shown;
}

std::string hexadecimal(char byte) {
  return M("\\x%02x", static_cast<unsigned char>(byte));
}

bool is_control(std::string_view letter) {
  const auto first = static_cast<unsigned char>(letter[0]);
  return first < kFirstPrintable || first == kDelete ||
         (first == 0xC2 && static_cast<unsigned char>(letter[1]) < 0xA0);
}

}  // namespace

std::string visible_text(std::string_view text) {
  return visible(text, LineFeeds::shown);
}

std::string visible_lines(std::string_view text) {
  return visible(text, LineFeeds::stay);
}

std::string printable_text(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    const std::string_view letter = text.substr(0, std::max<std::size_t>(length, 1));
    result += length == 0 || is_control(letter) ? hexadecimal(letter.back()) : std::string(letter);
    text.remove_prefix(letter.size());
  }
  return result;
}
