#include "platform/database.h"

#include "session.h"
#include "wait_budget.h"

namespace {

/// The server connection of this process; null while there is none. One that is lost lives on as long
/// as somebody holds it.
std::shared_ptr<MySession> current;

/// A handle that knows the character set. One that was never connected escapes by the rules of latin1,
/// as our connections do.
MYSQL* escaping_handle() {
  if (current) {
    return current->handle();
  }
  static const MyHandle unconnected = new_handle();
  return unconnected.get();
}

}  // namespace

int my_mysql_connect(MyConnection& connection, int /*reserved*/) {
  connection.session.reset();
  if (wait_budget_left() == WaitTime{0}) {
    return -1;
  }
  if (!current || !current->alive()) {
    current.reset();
    current = MySession::connect();
  }
  connection.session = current;
  return current ? 0 : -1;
}

MyError my_mysql_refusal() {
  return MySession::refusal;
}

MyTicket my_mysql_query(MyConnection& connection, const char* format, ...) {
  if (!connection.session) {
    return 0;
  }
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> statement = my_format(format, values);
  va_end(values);
  return statement ? connection.session->send(*statement) : 0;
}

MyResult* my_mysql_store_result(MyConnection& connection, MyTicket ticket) {
  return connection.session ? connection.session->take_rows(ticket) : nullptr;
}

MyOutcome my_mysql_outcome(MyConnection& connection, MyTicket ticket) {
  return connection.session ? connection.session->outcome(ticket) : MyOutcome{};
}

std::uint64_t my_mysql_num_rows(const MyResult& result) {
  return mysql_num_rows(result.rows.get());
}

bool my_mysql_fetch_row(MyResult& result, MyRow& row) {
  row.texts = mysql_fetch_row(result.rows.get());
  row.lengths = mysql_fetch_lengths(result.rows.get());
  row.columns = mysql_num_fields(result.rows.get());
  return row.texts != nullptr;
}

void my_mysql_rewind(MyResult& result) {
  mysql_data_seek(result.rows.get(), 0);
}

void my_mysql_free_result(MyResult* result) {
  delete result;
}

std::uint64_t my_mysql_insert_id(MyConnection& connection) {
  if (!connection.session) {
    return 0;
  }
  connection.session->settle();
  return connection.session->last_insert_id();
}

void my_mysql_close(MyConnection& connection) {
  connection.session.reset();
  if (current.use_count() == 1) {  // nobody else holds it
    current->settle();
    current->forget_answers();
  }
}

void my_mysql_settle() {
  if (current) {
    current->settle();
  }
}

void my_mysql_release() {
  if (current.use_count() == 1) {
    current.reset();
  }
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
