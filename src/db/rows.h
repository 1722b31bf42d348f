#pragma once

#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/database.h"

/// One row of a result; valid as long as its Rows.
class Row {
 public:
  explicit Row(const MyRow& row) : row_(row) {}

  /// The text of a column, any bytes; none for SQL NULL or a column that is not there.
  std::optional<std::string_view> operator[](unsigned int column) const;

  /// A copy of the text; none as above.
  std::optional<std::string> text_or_none(unsigned int column) const;

  /// A copy of the text; empty for none.
  std::string text(unsigned int column) const { return std::string((*this)[column].value_or("")); }

  unsigned int columns() const { return row_.columns; }

  /// A column as a decimal number, 0 for none.
  int number(unsigned int column) const;

 private:
  MyRow row_;
};

/// The rows that a query returned, for one range-for.
class Rows {
 public:
  /// Takes over `result`; null for a query that yielded no result set.
  explicit Rows(MyResult* result) : result_(result) {}

  /// Whether there is a result set at all; a failed query has none.
  explicit operator bool() const { return result_ != nullptr; }

  /// Number of rows; 0 without a result set.
  std::uint64_t count() const { return result_ ? my_mysql_num_rows(*result_) : 0; }

  /// The first column of the next row; none for NULL, or at the end.
  std::optional<std::string> first_text();

  /// The next row, or none at the end.
  std::optional<Row> next();

  /// Starts again from the first row.
  void rewind();

  class Iterator {
   public:
    explicit Iterator(Rows* rows) : rows_(rows), row_(rows->next()) {}
    const Row& operator*() const { return *row_; }
    Iterator& operator++() {
      row_ = rows_->next();
      return *this;
    }
    bool operator==(std::default_sentinel_t /*end*/) const { return !row_; }

   private:
    Rows* rows_;
    std::optional<Row> row_;
  };
  Iterator begin() { return Iterator(this); }
  static std::default_sentinel_t end() { return {}; }

 private:
  struct Free {
    void operator()(MyResult* result) const { my_mysql_free_result(result); }
  };

  std::unique_ptr<MyResult, Free> result_;
};
