#include "values/visible_text.h"

#include <algorithm>

#include "platform/text.h"

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7F;

/// `text` with control bytes shown, but for those in `kept`.
std::string visible(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    const bool is_control = byte < kFirstPrintable || byte == kDelete;
    if (!is_control || kept.find(letter) != std::string_view::npos) {
      shown += letter;
    } else {
      shown.append("\\x").append(1, kHexDigits[byte / 16]).append(1, kHexDigits[byte % 16]);
    }
  }
  return shown;
}

bool is_control(std::string_view letter) {
  const auto first = static_cast<unsigned char>(letter[0]);
  return first < kFirstPrintable || first == kDelete ||
         (first == 0xC2 && static_cast<unsigned char>(letter[1]) < 0xA0);
}

struct Lead {
  unsigned char first, last;  // range of first bytes
  std::size_t length;
  unsigned char second_from,
      second_to;  // range of second bytes, without overlong forms, surrogates
                  // and what is beyond 10FFFF
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
    result += length == 0 || is_control(letter)
                  ? M("\\x%02x", static_cast<unsigned char>(letter.back()))
                  : std::string(letter);
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
