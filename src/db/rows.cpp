#include "db/rows.h"

#include "values/decimal.h"

std::optional<std::string_view> Row::operator[](unsigned int column) const {
  if (column >= row_.columns || row_.texts[column] == nullptr) {
    return std::nullopt;
  }
  return std::string_view(row_.texts[column], row_.lengths[column]);
}

std::optional<std::string> Row::text_or_none(unsigned int column) const {
  const std::optional<std::string_view> text = (*this)[column];
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

int Row::number(unsigned int column) const {
  return decimal_int((*this)[column].value_or(""));
}

std::optional<Row> Rows::next() {
  MyRow row;
  if (!result_ || !my_mysql_fetch_row(*result_, row)) {
    return std::nullopt;
  }
  return Row(row);
}

void Rows::rewind() {
  if (result_) {
    my_mysql_rewind(*result_);
  }
}

std::optional<std::string> Rows::first_text() {
  const std::optional<Row> row = next();
  return row ? row->text_or_none(0) : std::nullopt;
}
