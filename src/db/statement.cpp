#include "db/statement.h"

#include <algorithm>

#include "platform/database.h"

std::optional<SqlText> SqlText::escaped(std::string_view raw) {
  std::optional<std::string> text = my_sqlescape(raw);
  return text ? std::optional(SqlText(*std::move(text))) : std::nullopt;
}

namespace sql_form {

namespace {

void append_number(std::string& text, const Argument& value, const FormatPlace& place) {
  std::string digits = value.kind == Kind::signed_number
                           ? std::to_string(static_cast<std::int64_t>(value.number))
                           : std::to_string(value.number);
  if (digits.size() < place.width) {
    const std::size_t sign = place.zero_filled && digits.front() == '-' ? 1 : 0;
    digits.insert(sign, place.width - digits.size(), place.zero_filled ? '0' : ' ');
  }
  text += digits;
}

/// Appends a value; whether it could be.
bool append(std::string& text, const Argument& value, const FormatPlace& place) {
  switch (value.kind) {
    case Kind::text:
      if (const std::optional<std::string> escaped = my_sqlescape(value.text)) {
        text += *escaped;
        return true;
      }
      return false;
    case Kind::ready:
    case Kind::bare:
      text += value.text;
      return value.sound;
    case Kind::signed_number:
    case Kind::unsigned_number:
      append_number(text, value, place);
      return true;
  }
  return false;
}

}  // namespace

Statement fill_in(std::string_view literal, std::initializer_list<Argument> values) {
  Statement statement;
  std::size_t length = literal.size();
  for (const Argument& value : values) {
    length += value.text.size();
  }
  statement.text.reserve(length);
  const Argument* next = values.begin();
  for (std::size_t at = 0; at < literal.size();) {
    const std::size_t place_begin = std::min(literal.find('%', at), literal.size());
    statement.text.append(literal.substr(at, place_begin - at));
    if (place_begin == literal.size()) {
      break;
    }
    const FormatPlace place = format_place_at(literal, place_begin);
    if (place.conversion == '%') {
      statement.text += '%';
    } else {
      const bool appended = append(statement.text, *next++, place);
      statement.sound = statement.sound && appended;
    }
    at = place.end;
  }
  return statement;
}

}  // namespace sql_form
