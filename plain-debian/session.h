#pragma once

#include <mysql.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "option_file.h"
#include "platform/database.h"
#include "wait_budget.h"

struct CloseLibraryObject {
  void operator()(MYSQL* handle) const { mysql_close(handle); }
  void operator()(MYSQL_RES* rows) const { mysql_free_result(rows); }
};
using MyHandle = std::unique_ptr<MYSQL, CloseLibraryObject>;
using StoredRows = std::unique_ptr<MYSQL_RES, CloseLibraryObject>;

struct MyResult {
  StoredRows rows;
};

/// A handle that is not connected; null when memory is short.
MyHandle new_handle();

/// The answer of a server that is not, or no longer, part of the group that it replicates with.
inline constexpr unsigned int kNotInGroup = 1047;

/// A handle that has been connected to `host` within `limit`, or null; then MySession::refusal says
/// why. Counts as waiting for the database.
MyHandle connect_to(const DatabaseHost& host, WaitTime limit);

/// One connection to the server. Statements are sent ahead of their answers, which come back in the
/// same order and are kept under their tickets.
struct MySession {
 public:
  /// A connected session, or null. Counts as waiting for the database.
  static std::shared_ptr<MySession> connect();

  /// Why the last connect that failed did.
  static inline MyError refusal;

  explicit MySession(MyHandle connected) : mysql_(std::move(connected)) {}
  ~MySession();
  MySession(const MySession&) = delete;
  MySession& operator=(const MySession&) = delete;

  /// Sends `statement`; 0 when the connection is lost.
  MyTicket send(std::string_view statement);

  /// Collects answers up to and with the one to `ticket`; its rows, or null.
  MyResult* take_rows(MyTicket ticket);

  /// Collects answers up to and with the one to `ticket`; what became of the statement.
  MyOutcome outcome(MyTicket ticket);

  /// Collects every outstanding answer.
  void settle();

  /// Drops what nobody took. Nothing may be outstanding.
  void forget_answers();

  /// Whether the server is still there, as far as can be told without asking or waiting.
  bool alive() const;

  std::uint64_t last_insert_id() const { return last_insert_id_; }
  MYSQL* handle() const { return mysql_.get(); }

 private:
  struct Answer {
    MyOutcome outcome;
    StoredRows rows;  // until somebody takes them
  };

  void collect_one();
  Answer* answer_to(MyTicket ticket);
  void lose(MyError reason);

  MyHandle mysql_;
  std::deque<std::size_t> sent_;  // the bytes of each statement that has no answer yet
  std::size_t sent_bytes_ = 0;
  std::vector<Answer> answers_;  // to the tickets from first_ticket_ on
  MyTicket first_ticket_ = 1;
  MyTicket last_ticket_ = 0;
  std::uint64_t last_insert_id_ = 0;
  std::optional<MyError> lost_;  // why the connection is no more
};
