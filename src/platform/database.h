#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/text.h"

// Access to the appliance's MySQL or MariaDB server.
//
// A statement is sent without waiting for its answer, so one that fails never stops the next.
// Answers are collected in the order of the statements: when a result or an insert id is asked for,
// before a child process is started, when the last connection closes, and when too many are
// outstanding.

/// How many statements are sent ahead of their answers at most; sending one more waits for the oldest.
inline constexpr std::size_t kMostSentAhead = 32;

struct MySession;  // the platform's own
struct MyResult;   // the platform's own; belongs to whoever stored it

/// A connection as one operation holds it, from my_mysql_connect to my_mysql_close. All of a process
/// share one server connection, which their statements reach in the order of sending.
struct MyConnection {
  std::shared_ptr<MySession> session;  // null: not connected
};

/// Names a statement that was sent on a connection; 0 for one that could not be sent.
using MyTicket = std::uint64_t;

/// Why something failed: the server's or the client library's number and text; 0 for no failure.
struct MyError {
  unsigned int number = 0;
  std::string text;
};

/// One row: `columns` texts with their lengths in bytes. A null text is SQL NULL. Valid until the
/// result is freed.
struct MyRow {
  const char* const* texts = nullptr;
  const unsigned long* lengths = nullptr;
  unsigned int columns = 0;
};

/// Opens `connection`; `reserved` is 0. No environment variable leads to another server. Returns 0,
/// or a negative number when no server can be reached (then nothing needs closing). Waits at most
/// 3 seconds for a silent server, 10 for one that has no connection left to give; several servers
/// that replicate each other share the 3 seconds, and the first that is ready is taken. Fails at once
/// after a server was silent, or once the process has waited 20 seconds in all for the database.
int my_mysql_connect(MyConnection& connection, int reserved);

/// Why the last my_mysql_connect that failed did; number 0 while none has.
MyError my_mysql_refusal();

/// Sends one statement, formatted as printf does, and returns its ticket.
MyTicket my_mysql_query(MyConnection& connection, const char* format, ...) AP_PRINTF(2, 3);

/// Waits for the answer to `ticket` and returns its rows, whole; null when the statement failed,
/// returned no rows, or the connection was lost. Rows that nobody stores are dropped at close.
MyResult* my_mysql_store_result(MyConnection& connection, MyTicket ticket);

/// What became of a statement. `repeat`: the server has undone it in favour of another's (a deadlock,
/// a lock held too long), and it may be sent again. `lost`: the connection is gone.
enum class MyFate { done, repeat, failed, lost };

struct MyOutcome {
  MyFate fate = MyFate::failed;
  std::uint64_t changed_rows = 0;  // rows made, removed, or now different; 0 for a query
  MyError error;                   // unless `done`
};

/// Waits for the answer to `ticket` and returns what became of the statement. `failed` for ticket 0,
/// or for a statement from before the connection was opened.
MyOutcome my_mysql_outcome(MyConnection& connection, MyTicket ticket);

std::uint64_t my_mysql_num_rows(const MyResult& result);

/// Reads the next row into `row`; false at the end.
bool my_mysql_fetch_row(MyResult& result, MyRow& row);

/// Makes my_mysql_fetch_row start from the first row again.
void my_mysql_rewind(MyResult& result);

void my_mysql_free_result(MyResult* result);

/// Waits for the last statement and returns the AUTO_INCREMENT number of its new row; 0 when the
/// statement failed or made no such row.
std::uint64_t my_mysql_insert_id(MyConnection& connection);

/// Gives the connection back; the last to do so collects what is outstanding.
void my_mysql_close(MyConnection& connection);

/// Collects all outstanding answers. Needed before anything outside the database relies on a
/// statement: a child process, a call to the controller.
void my_mysql_settle();

/// Ends the server connection if no operation holds it. Call it before a wait that may be long, so
/// that the server keeps no connection for a process that only sleeps.
void my_mysql_release();

/// `text`, any bytes, escaped for use between single quotes in a statement, by the rules of the
/// connection's character set. None when it cannot be escaped.
std::optional<std::string> my_sqlescape(std::string_view text);
