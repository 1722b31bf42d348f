#include "platform/database.h"

#include <algorithm>

#include "session.h"
#include "wait_budget.h"

namespace {

/// The server connections of this process: one that all operations share, and lost ones until
/// their holders let go of them.
std::vector<std::unique_ptr<MySession>>& sessions() {
  static std::vector<std::unique_ptr<MySession>> all;
  return all;
}

MySession* live_session() {
  auto& all = sessions();
  std::erase_if(all,
                [](const auto& session) { return session->holders == 0 && !session->alive(); });
  const auto live =
      std::find_if(all.rbegin(), all.rend(), [](const auto& session) { return session->alive(); });
  return live == all.rend() ? nullptr : live->get();
}

/// Knows the character set. Without a connection a handle that was never connected serves: it
/// escapes by the rules of latin1, as our connections do.
MYSQL* escaping_handle() {
  if (!sessions().empty()) {
    return sessions().back()->handle();
  }
  static const std::unique_ptr<MYSQL, void (*)(MYSQL*)> unconnected(new_handle(), mysql_close);
  return unconnected.get();
}

}  // namespace

int my_mysql_connect(MyConnection& connection, int /*reserved*/) {
  connection.session = nullptr;
  if (wait_budget_left() == WaitTime{0}) {
    return -1;
  }
  MySession* session = live_session();
  if (session == nullptr) {
    std::unique_ptr<MySession> fresh = MySession::connect();
    if (!fresh) {
      return -1;
    }
    session = sessions().emplace_back(std::move(fresh)).get();
  }
  ++session->holders;
  connection.session = session;
  return 0;
}

MyError my_mysql_refusal() {
  return MySession::refusal;
}

MyTicket my_mysql_query(MyConnection& connection, const char* format, ...) {
  if (connection.session == nullptr) {
    return 0;
  }
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> statement = my_format(format, values);
  va_end(values);
  return statement ? connection.session->send(*statement) : 0;
}

MyResult* my_mysql_store_result(MyConnection& connection, MyTicket ticket) {
  return connection.session == nullptr ? nullptr : connection.session->take_rows(ticket);
}

MyOutcome my_mysql_outcome(MyConnection& connection, MyTicket ticket) {
  return connection.session == nullptr ? MyOutcome{} : connection.session->outcome(ticket);
}

std::uint64_t my_mysql_num_rows(const MyResult& result) {
  return mysql_num_rows(result.rows);
}

bool my_mysql_fetch_row(MyResult& result, MyRow& row) {
  row.texts = mysql_fetch_row(result.rows);
  row.lengths = row.texts == nullptr ? nullptr : mysql_fetch_lengths(result.rows);
  row.columns = row.texts == nullptr ? 0 : mysql_num_fields(result.rows);
  return row.texts != nullptr;
}

void my_mysql_rewind(MyResult& result) {
  mysql_data_seek(result.rows, 0);
}

void my_mysql_free_result(MyResult* result) {
  delete result;
}

std::uint64_t my_mysql_insert_id(MyConnection& connection) {
  if (connection.session == nullptr) {
    return 0;
  }
  connection.session->settle();
  return connection.session->last_insert_id();
}

int my_mysql_close(MyConnection& connection) {
  if (connection.session == nullptr) {
    return -1;
  }
  MySession* session = connection.session;
  connection.session = nullptr;
  if (--session->holders == 0) {
    session->settle();
    session->forget_answers();
  }
  return session->alive() ? 0 : -1;
}

void my_mysql_settle() {
  for (const auto& session : sessions()) {
    session->settle();
  }
}

void my_mysql_release() {
  std::erase_if(sessions(), [](const auto& session) { return session->holders == 0; });
}

std::optional<std::string> my_sqlescape(std::string_view text) {
  MYSQL* mysql = escaping_handle();
  if (mysql == nullptr) {
    return std::nullopt;
  }
  std::string escaped(text.size() * 2 + 1, '\0');
  const unsigned long length = mysql_real_escape_string(mysql, escaped.data(), text.data(),
                                                        static_cast<unsigned long>(text.size()));
  if (length == static_cast<unsigned long>(-1)) {
    return std::nullopt;
  }
  escaped.resize(length);
  return escaped;
}
