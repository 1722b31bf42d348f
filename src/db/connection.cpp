#include "db/connection.h"

#include "db/hint_check.h"
#include "trace/trace_log.h"

namespace {

/// How often a transaction is run again that the server has undone.
constexpr int kRepetitions = 10;

/// The operation of trace lines about the connection itself, and about statements without a step.
constexpr const char* kDatabase = "database";

/// Errors of the server that lose nothing: another process has just made the row; the table of an AP
/// that has not reported yet.
constexpr unsigned int kDuplicateRow = 1062;
constexpr unsigned int kNoTable = 1146;

}  // namespace

MyOutcome Attempt::outcome() const {
  MyOutcome outcome = my_mysql_outcome(db->connection_, ticket);
  if (outcome.fate != MyFate::done && outcome.fate != MyFate::repeat) {
    db->report_failure(query, outcome, false);
  }
  return outcome;
}

bool Connection::open() {
  if (is_open() && !is_lost_) {
    return true;
  }
  if (is_rehearsing_) {
    return false;
  }
  close();
  if (my_mysql_connect(connection_, 0) != 0) {
    const MyError error = my_mysql_refusal();
    ap_debug_log({kDatabase, key_}, "no connection: %u %s", error.number, error.text.c_str());
    my_report_loss(Loss::event, event_.remedy,
                   M("AP %s: %s because the database cannot be reached (%u: %s)", key_.c_str(),
                     event_.loss, error.number, error.text.c_str()));
  }
  return is_open();
}

void Connection::close() {
  if (!is_open()) {
    return;
  }
  check_unchecked();
  hint_check::count(0, ahead_.size());
  ahead_.clear();
  my_mysql_close(connection_);
  is_lost_ = false;
}

MyTicket Connection::send(const Statement& statement) {
  if (!is_open() || !statement.sound) {
    return 0;
  }
  const MyTicket ticket = my_mysql_query(connection_, "%s", statement.text.c_str());
  is_lost_ = is_lost_ || ticket == 0;
  return ticket;
}

MyTicket Connection::send(const Query& query) {
  const MyTicket ticket = send(query.statement);
  trace(query.step, query.statement.text);
  if (!query.statement.sound) {
    trace(query.step, "not sent: a value would break the statement");
  }
  return ticket;
}

void Connection::run(const Query& query) {
  const MyTicket ticket = send(query);
  if (!is_open() || !query.statement.sound) {
    return;
  }
  if (is_traced_) {  // waited for, so that the trace shows a failure below its statement
    check(ticket, query, is_in_transaction_);
  } else {
    unchecked_.push_back({ticket, query.step.operation, is_in_transaction_});
  }
}

Rows Connection::answer(const Query& query, Ahead ahead) {
  Rows rows =
      ahead.rows ? *std::move(ahead.rows) : Rows(my_mysql_store_result(connection_, ahead.ticket));
  rows.rewind();
  if (!rows && is_open() && query.statement.sound) {
    check(ahead.ticket, query, is_in_transaction_);
  }
  return rows;
}

Rows Connection::ask(const Query& query) {
  const auto fetched = ahead_.find(query.statement.text);
  if (fetched == ahead_.end()) {
    return answer(query, {send(query), std::nullopt});
  }
  Ahead ahead = std::move(fetched->second);
  ahead_.erase(fetched);
  trace(query.step, query.statement.text);
  Rows rows = answer(query, std::move(ahead));
  if (hint_check::is_verifying() && rows) {
    Rows again(my_mysql_store_result(connection_, send(query.statement)));
    hint_check::expect_same(rows, again, query.statement.text.c_str());
  }
  return rows;
}

Rows Connection::ask_noting_none(const Query& query) {
  Rows rows = ask(query);
  if (rows && rows.count() == 0) {
    note(query.step, "no matched.");
  }
  return rows;
}

const std::string* Connection::remembered(const Query& query) const {
  const auto found = found_.find(query.statement.text);
  return is_traced_ || found == found_.end() ? nullptr : &found->second;
}

std::optional<std::string> Connection::look_up(const Query& query) {
  is_traced_ = is_tracing();
  if (const std::string* text = remembered(query)) {
    return *text;
  }
  std::optional<std::string> text = ask(query).first_text();
  if (text) {
    found_.insert_or_assign(query.statement.text, *text);
  }
  return text;
}

void Connection::fetch_ahead(const Query& query) {
  const std::string& text = query.statement.text;
  if (hint_check::is_without_hints() || remembered(query) != nullptr ||
      (!is_traced_ && ahead_.contains(text))) {
    return;
  }
  if (const MyTicket ticket = send(query.statement); ticket != 0) {
    ahead_.emplace(text, Ahead{ticket, std::nullopt});
    hint_check::count(1, 0);
  }
}

Rows& Connection::peek(const Query& query) {
  static Rows none(nullptr);
  const auto fetched = ahead_.find(query.statement.text);
  if (fetched == ahead_.end()) {
    return none;
  }
  auto& [ticket, rows] = fetched->second;
  if (!rows) {
    rows.emplace(my_mysql_store_result(connection_, ticket));
  }
  rows->rewind();
  return *rows;
}

std::optional<std::string> Connection::peek_look_up(const Query& query) {
  const std::string* text = remembered(query);
  return text != nullptr ? *text : peek(query).first_text();
}

void Connection::in_transaction(const Step& what, const std::function<void()>& body) {
  is_in_transaction_ = true;
  for (int run_number = 0; run_number <= kRepetitions; ++run_number) {
    is_undone_ = false;
    run(untraced, "START TRANSACTION");
    body();
    run(untraced, "COMMIT");
    check_unchecked();
    if (!is_undone_) {
      break;
    }
    note(what, "undone by the server in favour of another process: repeated");
  }
  is_in_transaction_ = false;
}

bool Connection::rehearse(const std::function<void()>& body) {
  // Without START TRANSACTION: after one that the server undoes, statements would stay for good.
  if (attempt(untraced, "SET autocommit=0").outcome().fate != MyFate::done) {
    return false;
  }
  is_rehearsing_ = true;
  body();
  is_rehearsing_ = false;
  run(untraced, "ROLLBACK");
  return attempt(untraced, "SET autocommit=1").outcome().fate == MyFate::done;
}

void Connection::trace(const Step& step, const std::string& text) {
  is_traced_ = is_tracing();
  if (is_traced_ && step.operation != nullptr) {
    ap_debug_log({step.operation, key_, step.line}, "%s%s", step.mark.c_str(), text.c_str());
  }
}

void Connection::note(const Step& step, const char* format, ...) const {
  if (step.operation == nullptr || !is_tracing()) {
    return;
  }
  std::va_list values;
  va_start(values, format);
  ap_debug_log({step.operation, key_, step.line}, "%s%s", step.mark.c_str(),
               my_format(format, values).value_or("").c_str());
  va_end(values);
}

void Connection::check_unchecked() {
  for (const Unchecked& sent : unchecked_) {
    check(sent.ticket, {Step(sent.operation), {}}, sent.in_transaction);
  }
  unchecked_.clear();
}

void Connection::check(MyTicket ticket, const Query& query, bool in_transaction) {
  const MyOutcome outcome = my_mysql_outcome(connection_, ticket);
  if (outcome.fate != MyFate::done) {
    report_failure(query, outcome, in_transaction);
  }
}

void Connection::report_failure(const Query& query, const MyOutcome& outcome, bool in_transaction) {
  const char* const operation = query.step.operation;
  const auto& [number, text] = outcome.error;
  if (operation != nullptr) {
    note(query.step, "failed: %u %s", number, text.c_str());
  } else {
    note(Step(kDatabase), "%s failed: %u %s", query.statement.text.c_str(), number, text.c_str());
  }
  if (outcome.fate == MyFate::lost) {
    is_lost_ = true;
    my_report_loss(Loss::event, event_.remedy,
                   M("AP %s: %s in part because the database connection was lost (%u: %s)",
                     key_.c_str(), event_.loss, number, text.c_str()));
  } else if (outcome.fate == MyFate::repeat && in_transaction) {
    is_undone_ = true;
  } else if (number != kDuplicateRow && (number != kNoTable || !query.may_lack_table)) {
    my_report_loss(Loss::statement, Remedy::none,
                   M("AP %s: %s: a statement was refused (%u: %s)", key_.c_str(),
                     operation == nullptr ? kDatabase : operation, number, text.c_str()));
  }
}
