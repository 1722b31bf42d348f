#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/rows.h"
#include "db/statement.h"
#include "platform/database.h"
#include "platform/system_log.h"
#include "platform/text.h"

/// The place of a statement: the operation that runs it, the step mark that its trace line begins
/// with ("(1/2) ", mostly empty), and the source line.
struct Step {
  const char* operation;  // null: the statement leaves no trace line
  std::string mark;
  int line;

  explicit Step(const char* operation_name, std::string step_mark = {},
                int source_line = __builtin_LINE())
      : operation(operation_name), mark(std::move(step_mark)), line(source_line) {}
};

/// The place of a statement that leaves no trace line.
inline const Step untraced{nullptr};

/// What becomes of an event without the database, in the words of the system log.
struct Event {
  const char* loss;  // "report dropped"
  Remedy remedy;     // whether the AP's next report makes up for it
};

/// A statement, mostly a query, and its place. One function makes it, for asking and for fetching
/// ahead alike.
struct Query {
  Step step;
  Statement statement;
  bool may_lack_table = false;  // its client table is made by an AP's first report
};

template <typename... Values>
Query query(const Step& step, SqlLiteral<Values...> literal, const Values&... values) {
  return {step, statement<Values...>(literal, values...)};
}

class Connection;

/// A statement without rows that was sent on `db`, for a caller that needs its outcome.
struct Attempt {
  Connection* db;
  Query query;
  MyTicket ticket;

  /// Waits for the outcome; the connection keeps it until it is closed. Call it once: it traces and
  /// reports a failure, unless the statement is to be repeated.
  MyOutcome outcome() const;
};

/// A database connection. One call sends a statement and traces it, with the same format and values.
/// A statement that fails never stops the next; the failure is traced below it, and reported. A
/// statement that a value makes unsound is not sent, which is traced, too. On a connection that is not
/// open, statements do nothing.
///
/// Logic asks each query where it needs the answer. `fetch_ahead` is a hint that saves waiting:
/// without it the same statements run with the same results.
class Connection {
 public:
  /// A closed connection. `key` is the AP on whose behalf the statements run, the key of their trace
  /// lines; `event` is what is reported as lost when the database fails.
  Connection(std::string key, Event event) : key_(std::move(key)), event_(event) {}
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Opens the connection unless it is open; one that the server has dropped is opened again.
  /// Returns whether it is open. A failure is traced and reported.
  bool open();

  /// Waits for what is outstanding and closes the connection, if it is open.
  void close();

  /// The key of the trace lines.
  const std::string& key() const { return key_; }

  /// Sends a statement that returns no rows.
  template <typename... Values>
  void run(const Step& step, SqlLiteral<Values...> literal, const Values&... values) {
    run(query<Values...>(step, literal, values...));
  }

  /// Sends a statement that returns no rows and whose outcome decides what follows.
  template <typename... Values>
  [[nodiscard]] Attempt attempt(const Step& step, SqlLiteral<Values...> literal,
                                const Values&... values) {
    Query sent = query<Values...>(step, literal, values...);
    const MyTicket ticket = send(sent);
    return {this, std::move(sent), ticket};
  }

  /// Asks a query and waits for its rows, unless they have been fetched ahead.
  [[nodiscard]] Rows ask(const Query& query);
  template <typename... Values>
  [[nodiscard]] Rows ask(const Step& step, SqlLiteral<Values...> literal, const Values&... values) {
    return ask(query<Values...>(step, literal, values...));
  }

  /// The same, and traces when there are no rows.
  [[nodiscard]] Rows ask_noting_none(const Query& query);

  /// Asks for a fact that does not change while the connection is open: the first column of the
  /// first row; none without a row, or for NULL. While nothing is traced, what was found once is
  /// answered from memory; while tracing is on it is asked again, so that the trace stays true.
  std::optional<std::string> look_up(const Query& query);

  /// Sends a query that will be asked soon, and keeps its answer until then. Only for answers that
  /// nothing sent in between changes. Beyond kMostSentAhead queries at a time nothing is gained.
  void fetch_ahead(const Query& query);

  /// What a query that was fetched ahead has found, to know what to fetch next: its rows, which stay
  /// the connection's until the query is asked. No rows for a query that was not fetched.
  Rows& peek(const Query& query);

  /// The same for a look-up: its first column, or none.
  std::optional<std::string> peek_look_up(const Query& query);

  /// Runs `body` as a transaction: other connections see all of its changes or none. When the server
  /// undoes it in favour of others (a deadlock), `body` is run again, at most 10 times. `what` says in
  /// the trace what is repeated.
  void in_transaction(const Step& what, const std::function<void()>& body);

  /// Runs `body` on the open connection and undoes what its statements have changed; others never
  /// see any of it. `body` may not use in_transaction. Returns whether all of it ran: a connection that
  /// is lost meanwhile is not opened again for it.
  [[nodiscard]] bool rehearse(const std::function<void()>& body);

  /// Writes a trace line of the operation, after the step's mark.
  void note(const Step& step, const char* format, ...) const AP_PRINTF(3, 4);

  /// The AUTO_INCREMENT number of the last statement's new row; 0 for none.
  std::uint64_t insert_id() { return my_mysql_insert_id(connection_); }

 private:
  friend struct Attempt;

  /// A query that was sent, and its rows once somebody has peeked at them.
  struct Ahead {
    MyTicket ticket = 0;
    std::optional<Rows> rows;
  };
  using AheadByText = std::multimap<std::string, Ahead, std::less<>>;

  /// A statement whose outcome nobody has looked at.
  struct Unchecked {
    MyTicket ticket;
    const char* operation;
    bool in_transaction;
  };

  bool is_open() const { return connection_.session != nullptr; }
  MyTicket send(const Statement& statement);
  MyTicket send(const Query& query);
  void run(const Query& query);
  void check_unchecked();
  void check(MyTicket ticket, const Query& query, bool in_transaction);
  Rows answer(const Query& query, Ahead ahead);
  const std::string* remembered(const Query& query) const;
  void trace(const Step& step, const std::string& text);
  void report_failure(const Query& query, const MyOutcome& outcome, bool in_transaction);

  std::string key_;
  Event event_;
  MyConnection connection_;
  bool is_lost_ = false;
  bool is_in_transaction_ = false;
  bool is_rehearsing_ = false;
  bool is_traced_ = false;  // as the last trace line or look-up has found
  bool is_undone_ = false;  // the server has undone a statement of the transaction
  AheadByText ahead_;
  std::map<std::string, std::string, std::less<>> found_;  // by look_up
  std::vector<Unchecked> unchecked_;
};
