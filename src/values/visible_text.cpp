#include "values/visible_text.h"

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

}  // namespace

std::string visible_text(std::string_view text) {
  return visible(text, LineFeeds::shown);
}

std::string visible_lines(std::string_view text) {
  return visible(text, LineFeeds::stay);
}
