#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/database.h"
#include "platform/text.h"

/// The place of a statement: the operation that runs it, the step mark that its trace line begins
/// with ("(1/2) ", mostly empty), and the source line.
struct Step {
  const char* operation;
  std::string mark;
  int line;

  explicit Step(const char* operation_name, std::string step_mark = {},
                int source_line = __builtin_LINE())
      : operation(operation_name), mark(std::move(step_mark)), line(source_line) {}
};

/// In place of a Step: the statement leaves no trace line.
struct Untraced {};
inline constexpr Untraced untraced;

/// Whether a statement goes out. `withhold` is for one that a value from outside would break: it is
/// traced, with a line that says so, and not sent.
enum class Delivery { send, withhold };

/// One row of a result; valid as long as its Rows.
class Row {
 public:
  Row() = default;
  explicit Row(const MyRow& row) : row_(row) {}

  /// The text of a column, any bytes; none for SQL NULL or a column that is not there.
  std::optional<std::string_view> operator[](unsigned int column) const;

  /// The text of a column, empty for none.
  std::string text(unsigned int column) const { return std::string((*this)[column].value_or("")); }

  /// A column as a decimal number, 0 for none.
  int number(unsigned int column) const;

 private:
  MyRow row_;
};

/// The rows that a query returned, walked once with a range-for.
class Rows {
 public:
  /// Takes over `result`; null for a query that yielded no result set.
  explicit Rows(MyResult* result) : result_(result, my_mysql_free_result) {}

  /// Whether there is a result set at all; a failed query has none.
  explicit operator bool() const { return result_ != nullptr; }

  /// Number of rows; 0 without a result set.
  std::uint64_t count() const { return result_ ? my_mysql_num_rows(*result_) : 0; }

  /// The next row, or none at the end.
  std::optional<Row> next();

  class Iterator {
   public:
    explicit Iterator(Rows* rows)
        : rows_(rows), row_(rows == nullptr ? std::nullopt : rows->next()) {}
    const Row& operator*() const { return *row_; }
    Iterator& operator++() {
      row_ = rows_->next();
      return *this;
    }
    bool operator!=(const Iterator& /*end*/) const { return row_.has_value(); }

   private:
    Rows* rows_;
    std::optional<Row> row_;
  };
  Iterator begin() { return Iterator(this); }
  static Iterator end() { return Iterator(nullptr); }

 private:
  std::unique_ptr<MyResult, void (*)(MyResult*)> result_;
};

/// A query that has been sent and whose rows are still to be taken, from the connection that sent
/// it and before that is closed. Several may be under way; they are taken in any order.
class Question {
 public:
  Question(MyConnection& connection, MyTicket ticket, std::function<void()> trace = {})
      : connection_(&connection), ticket_(ticket), trace_(std::move(trace)) {}

  /// Waits for the rows.
  Rows rows() const { return Rows(my_mysql_store_result(*connection_, ticket_)); }

  /// Writes the trace line of a query that was asked ahead of it (Connection::ask_ahead).
  void trace() const {
    if (trace_) {
      trace_();
    }
  }

 private:
  MyConnection* connection_;
  MyTicket ticket_;
  std::function<void()> trace_;
};

/// A statement without rows that has been sent and whose outcome is still to be asked for.
class Attempt {
 public:
  Attempt(MyConnection& connection, MyTicket ticket) : connection_(&connection), ticket_(ticket) {}

  /// Waits for the outcome, which the connection keeps until it is closed.
  MyOutcome outcome() const { return my_mysql_outcome(*connection_, ticket_); }

 private:
  MyConnection* connection_;
  MyTicket ticket_;
};

/// A database connection of one operation, open from construction to destruction. One call sends a
/// statement and traces it, with the same format and values. Failures show in the outcome of an
/// attempt only; a failing statement never stops the next. On a connection that did not open,
/// statements do nothing.
class Connection {
 public:
  /// `key` is the AP on whose behalf the statements run, the key of their trace lines; null for
  /// none. It has to outlive the connection.
  explicit Connection(const char* key);
  explicit Connection(const std::string& key) : Connection(key.c_str()) {}
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Whether the connection is open.
  explicit operator bool() const { return open_ == 0; }

  /// 0, or the negative result with which opening failed.
  int result() const { return open_; }

  /// Closes the connection; returns the result of closing it.
  int close();

  /// The key of the trace lines.
  const char* key() const { return key_; }

  /// Sends a statement that returns no rows.
  void run(const Step& step, const char* format, ...) AP_PRINTF(3, 4);
  void run(Untraced step, const char* format, ...) AP_PRINTF(3, 4);
  void run(const Step& step, Delivery delivery, const char* format, ...) AP_PRINTF(4, 5);

  /// Sends a statement that returns no rows and that may have to be repeated.
  [[nodiscard]] Attempt attempt(const Step& step, const char* format, ...) AP_PRINTF(3, 4);
  [[nodiscard]] Attempt attempt(Untraced step, const char* format, ...) AP_PRINTF(3, 4);

  /// Sends a query.
  [[nodiscard]] Question ask(const Step& step, const char* format, ...) AP_PRINTF(3, 4);
  [[nodiscard]] Question ask(Untraced step, const char* format, ...) AP_PRINTF(3, 4);

  /// Sends a query whose place in the trace comes later: it is traced by Question::trace. For
  /// questions that go out together while the trace keeps their order with what follows from each.
  [[nodiscard]] Question ask_ahead(const Step& step, const char* format, ...) AP_PRINTF(3, 4);

  /// Writes a trace line of the operation, behind the step's mark.
  void note(const Step& step, const char* format, ...) const AP_PRINTF(3, 4);

  /// The serial number that the last statement's new row was given; 0 for none.
  std::uint64_t insert_id() { return my_mysql_insert_id(connection_); }

 private:
  MyTicket send(const Step* step, const char* format, std::va_list values) AP_PRINTF(3, 0);
  void trace(const Step& step, const std::string& text) const;

  const char* key_;
  MyConnection connection_;
  int open_;
};

/// `text` made fit to stand between single quotes in a statement; empty when it cannot be.
std::string sql_text(std::string_view text);
