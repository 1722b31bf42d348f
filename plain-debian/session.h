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

struct MyResult {
  MYSQL_RES* rows = nullptr;

  explicit MyResult(MYSQL_RES* stored) : rows(stored) {}
  ~MyResult() { mysql_free_result(rows); }
  MyResult(const MyResult&) = delete;
  MyResult& operator=(const MyResult&) = delete;
};

/// A handle of the client library, not connected, that belongs to the caller (mysql_close); null
/// when memory is short.
MYSQL* new_handle();

/// What a server answers that is not, or no longer, part of the group that it replicates with.
inline constexpr unsigned int kNotInGroup = 1047;

/// A handle that is connected to a server within `limit` and belongs to the caller (mysql_close); null
/// otherwise, and then MySession::refusal says why. Counts as waiting for the database.
MYSQL* connect_to(const DatabaseHost& host, WaitTime limit);

/// One connection to the server. Statements are sent ahead of their answers; answers come back in
/// the order of the statements, and rows that nobody has asked for yet are kept under their ticket.
struct MySession {
 public:
  /// A connected session, or null. Counts as waiting for the database.
  static std::unique_ptr<MySession> connect();

  /// Why the last connect that failed did.
  static inline MyError refusal;

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

  /// Drops what nobody took, so that the next holder starts clean. Nothing may be outstanding.
  void forget_answers();

  /// Whether the server is still there, as far as can be told without asking or waiting.
  bool alive() const;

  std::uint64_t last_insert_id() const { return last_insert_id_; }
  MYSQL* handle() const { return mysql_; }

  int holders = 0;  // operations between my_mysql_connect and my_mysql_close

 private:
  struct Answer {
    MyOutcome outcome;
    std::unique_ptr<MyResult> rows;  // until somebody takes them
  };

  explicit MySession(MYSQL* connected) : mysql_(connected) {}

  void collect_one();
  Answer* answer_to(MyTicket ticket);
  void lose(MyError reason);
  int socket() const;

  MYSQL* mysql_;
  std::deque<std::size_t> sent_;  // the bytes of each statement that has no answer yet
  std::size_t sent_bytes_ = 0;
  std::vector<Answer> answers_;  // to the tickets from first_ticket_ on
  MyTicket first_ticket_ = 1;
  MyTicket last_ticket_ = 0;
  std::uint64_t last_insert_id_ = 0;
  std::optional<MyError> lost_;  // why the connection is no more
};
