#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/text.h"

// Access to the appliance's MySQL or MariaDB server.
//
// A statement is sent without waiting for its answer. Answers are collected in the order of the
// statements: when a result or an insert id is asked for, before a child process is started, when
// the last operation closes, and when too many are outstanding. A statement that fails therefore
// never stops the next one. The statements of a process reach the server in the order in which they
// are sent, whichever connection they are sent on.

/// How many statements run ahead of their answers at most; sending one more waits for the oldest.
/// Looking up more than this many rows together gains nothing.
inline constexpr std::size_t kMostSentAhead = 32;

struct MySession;  // the platform's own; belongs to the platform
struct MyResult;   // the platform's own; belongs to whoever stored it

/// A connection as one operation holds it, from my_mysql_connect to my_mysql_close. Underneath, all
/// operations of a process share one server connection.
struct MyConnection {
  MySession* session = nullptr;  // null: not connected
};

/// Names one sent statement on its connection; 0 stands for a statement that could not be sent.
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
/// or a negative number when there is no server connection to be had (then nothing needs closing).
/// Waits at most 3 seconds for a server that is silent, 10 for one that has all its connections given
/// away. Of several servers that replicate each other it takes the first that is ready to serve, and
/// shares the 3 seconds out among them. After that, or when the process has waited 20 seconds in all for the database, it fails at
/// once.
int my_mysql_connect(MyConnection& connection, int reserved);

/// Why the last my_mysql_connect that failed did; 0 while none has.
MyError my_mysql_refusal();

/// Sends one statement, formatted as printf does, and returns its ticket.
MyTicket my_mysql_query(MyConnection& connection, const char* format, ...) AP_PRINTF(2, 3);

/// Waits for the answer to `ticket` and returns its rows, whole; null when the statement failed,
/// returned no rows, or the connection was lost. Rows that nobody stores are dropped at close.
MyResult* my_mysql_store_result(MyConnection& connection, MyTicket ticket);

/// What became of a statement. `repeat`: the server has undone it in favour of another's (a deadlock,
/// a lock held too long), and it may be sent again.
enum class MyFate { done, failed, repeat };

struct MyOutcome {
  MyFate fate = MyFate::failed;
  std::uint64_t changed_rows = 0;  // rows made, removed, or now different; 0 for a query
  MyError error;                   // unless `done`
};

/// Waits for the answer to `ticket` and returns what became of the statement. `failed` for ticket 0,
/// a lost connection, or a statement from before the connection was opened.
MyOutcome my_mysql_outcome(MyConnection& connection, MyTicket ticket);

std::uint64_t my_mysql_num_rows(const MyResult& result);

/// Reads the next row into `row`; false at the end.
bool my_mysql_fetch_row(MyResult& result, MyRow& row);

/// Has my_mysql_fetch_row begin with the first row again.
void my_mysql_rewind(MyResult& result);

void my_mysql_free_result(MyResult* result);

/// Waits for the last statement and returns the number the server gave its new row; 0 when the
/// statement failed or made no row with such a number.
std::uint64_t my_mysql_insert_id(MyConnection& connection);

/// Gives the connection back; the last to do so collects what is outstanding. Returns 0, or a
/// negative number when the server had dropped it.
int my_mysql_close(MyConnection& connection);

/// Collects every outstanding answer of the process. Whatever acts outside the database on the
/// strength of a statement (a child process, a call to the controller) needs this first.
void my_mysql_settle();

/// Ends the server connections that no operation holds. For before a wait that may be long, so that
/// the server does not keep a connection for a process that only sleeps.
void my_mysql_release();

/// `text`, any bytes, escaped for use between single quotes in a statement, by the
/// rules of the connection's character set. None when it cannot be escaped.
std::optional<std::string> my_sqlescape(std::string_view text);
