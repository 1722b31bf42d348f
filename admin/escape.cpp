#include "escape.h"

#include "platform/text.h"

namespace {

constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7F;

struct Lead {
  unsigned char first, last;  // range of first bytes
  std::size_t length;
  unsigned char second_from, second_to;  // range of second bytes; narrower than 80 to BF where that
                                         // keeps overlong forms, surrogates and 110000 on out
};

constexpr Lead kLeads[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

/// Length of the UTF-8 character that `text` begins with; 0 when it begins with none.
std::size_t character_length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Lead& lead : kLeads) {
    if (byte(0) < lead.first || byte(0) > lead.last) {
      continue;
    }
    if (text.size() < lead.length) {
      return 0;
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

/// Puts `text` together anew: `character` and `stray` say what becomes of a character and of a byte
/// that belongs to none.
template <typename Character, typename Stray>
std::string rewrite(std::string_view text, Character character, Stray stray) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = character_length(text);
    result += length == 0 ? stray(text[0]) : character(text.substr(0, length));
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

unsigned int code(char byte) {
  return static_cast<unsigned char>(byte);
}

std::string hexadecimal(char byte) {
  return M("\\x%02x", code(byte));
}

}  // namespace

std::string json_text(std::string_view text) {
  const auto character = [](std::string_view letter) {
    if (letter == "\"" || letter == "\\") {
      return "\\" + std::string(letter);
    }
    return code(letter[0]) < kFirstPrintable ? M("\\u%04x", code(letter[0])) : std::string(letter);
  };
  return '"' + rewrite(text, character, [](char) { return std::string("\\ufffd"); }) + '"';
}

std::string printable_text(std::string_view text) {
  const auto character = [](std::string_view letter) {
    const bool control = code(letter[0]) < kFirstPrintable || code(letter[0]) == kDelete ||
                         (letter.starts_with('\xC2') && code(letter[1]) < 0xA0);
    return control ? hexadecimal(letter.back()) : std::string(letter);
  };
  return rewrite(text, character, hexadecimal);
}
