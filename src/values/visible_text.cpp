#include "values/visible_text.h"

#include <algorithm>

#include "platform/text.h"

namespace {

bool is_control(char letter) {
  const auto byte = static_cast<unsigned char>(letter);
  return byte < 0x20 || byte == 0x7F;
}

/// `text` with control bytes shown, but for those in `kept`.
std::string visible(std::string_view text, std::string_view kept) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string shown;
  shown.reserve(text.size());
  for (const char letter : text) {
    if (!is_control(letter) || kept.find(letter) != std::string_view::npos) {
      shown += letter;
    } else {
      const auto byte = static_cast<unsigned char>(letter);
      shown.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return shown;
}

/// A range of first bytes, and that of the second bytes which excludes overlong forms, surrogates and
/// what is above U+10FFFF.
struct Lead {
  unsigned char first, last;
  std::size_t length;
  unsigned char second_from, second_to;
};

constexpr Lead kLeads[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

}  // namespace

std::string visible_text(std::string_view text) {
  return visible(text, "");
}

std::string visible_lines(std::string_view text) {
  return visible(text, "\n");
}

std::string printable_text(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    const std::string_view letter = text.substr(0, std::max<std::size_t>(length, 1));
    const bool is_escaped = length == 0 || is_control(letter[0]) ||
                            (letter[0] == '\xC2' && letter[1] < '\xA0');  // U+0080 to U+009F
    result +=
        is_escaped ? M("\\x%02x", static_cast<unsigned char>(letter.back())) : std::string(letter);
    text.remove_prefix(letter.size());
  }
  return result;
}

std::size_t utf8_length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Lead& lead : kLeads) {
    if (text.size() < lead.length || byte(0) < lead.first || byte(0) > lead.last) {
      continue;
    }
    for (std::size_t i = 1; i < lead.length; ++i) {
      if (byte(i) < (i == 1 ? lead.second_from : 0x80) ||
          byte(i) > (i == 1 ? lead.second_to : 0xBF)) {
        return 0;
      }
    }
    return lead.length;
  }
  return 0;
}

bool is_utf8(std::string_view text) {
  while (const std::size_t length = utf8_length(text)) {
    text.remove_prefix(length);
  }
  return text.empty();
}
