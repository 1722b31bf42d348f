#include "db/connection.h"

#include "trace/trace_log.h"
#include "values/decimal.h"

std::optional<std::string_view> Row::operator[](unsigned int column) const {
  if (column >= row_.columns || row_.texts[column] == nullptr) {
    return std::nullopt;
  }
  return std::string_view(row_.texts[column], row_.lengths[column]);
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

Connection::Connection(const char* key) : key_(key), open_(my_mysql_connect(connection_, 0)) {}

Connection::~Connection() {
  if (open_ == 0) {
    close();
  }
}

int Connection::close() {
  open_ = -1;
  return my_mysql_close(connection_);
}

void Connection::trace(const Step& step, const std::string& text) const {
  ap_debug_log(step.operation, step.line, key_, "%s%s", step.mark.c_str(), text.c_str());
}

MyTicket Connection::send(const Step* step, const char* format, std::va_list values) {
  const std::string text = my_format(format, values).value_or("");
  const MyTicket ticket = my_mysql_query(connection_, "%s", text.c_str());
  if (step != nullptr) {
    trace(*step, text);
  }
  return ticket;
}

void Connection::run(const Step& step, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  send(&step, format, values);
  va_end(values);
}

void Connection::run(Untraced /*step*/, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  send(nullptr, format, values);
  va_end(values);
}

void Connection::run(const Step& step, Delivery delivery, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  if (delivery == Delivery::send) {
    send(&step, format, values);
  } else {
    trace(step, my_format(format, values).value_or(""));
    trace(step, "not sent: a value would break the statement");
  }
  va_end(values);
}

Attempt Connection::attempt(const Step& step, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const MyTicket ticket = send(&step, format, values);
  va_end(values);
  return {connection_, ticket};
}

Attempt Connection::attempt(Untraced /*step*/, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const MyTicket ticket = send(nullptr, format, values);
  va_end(values);
  return {connection_, ticket};
}

Question Connection::ask(const Step& step, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const MyTicket ticket = send(&step, format, values);
  va_end(values);
  return {connection_, ticket};
}

Question Connection::ask(Untraced /*step*/, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const MyTicket ticket = send(nullptr, format, values);
  va_end(values);
  return {connection_, ticket};
}

Question Connection::ask_ahead(const Step& step, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  std::string text = my_format(format, values).value_or("");
  va_end(values);
  const MyTicket ticket = my_mysql_query(connection_, "%s", text.c_str());
  return {connection_, ticket, [this, step, text = std::move(text)] { trace(step, text); }};
}

void Connection::note(const Step& step, const char* format, ...) const {
  if (!is_tracing()) {
    return;
  }
  std::va_list values;
  va_start(values, format);
  trace(step, my_format(format, values).value_or(""));
  va_end(values);
}

std::string sql_text(std::string_view text) {
  return my_sqlescape(text).value_or("");
}
