#include "db/connection.h"

#include "db/hint_check.h"
#include "trace/trace_log.h"

namespace {

/// How often a transaction is run again that the server has undone.
constexpr int kRepetitions = 10;

/// The name under which the trace tells of the connection itself, and of statements without a step.
constexpr const char* kDatabase = "database";

/// Errors of the server that lose nothing: another process has just made the row; the table of an AP
/// that has not reported yet.
constexpr unsigned int kDuplicateRow = 1062;
constexpr unsigned int kNoTable = 1146;

/// The client library's own errors, all of which end the connection.
constexpr unsigned int kFirstClientError = 2000;
constexpr unsigned int kLastClientError = 2999;

}  // namespace

MyOutcome Attempt::outcome() const {
  MyOutcome outcome = my_mysql_outcome(db_->connection_, ticket_);
  if (outcome.fate == MyFate::failed) {
    db_->note(Step(operation_ == nullptr ? kDatabase : operation_), "failed: %u %s",
              outcome.error.number, outcome.error.text.c_str());
    db_->report_failure(operation_, outcome, false);
  }
  return outcome;
}

bool Connection::open() {
  if (is_open_ && !is_lost_) {
    return true;
  }
  if (is_rehearsing_) {
    return false;
  }
  close();
  is_open_ = my_mysql_connect(connection_, 0) == 0;
  if (!is_open_) {
    const MyError error = my_mysql_refusal();
    ap_debug_log({kDatabase, key_}, "no connection: %u %s", error.number, error.text.c_str());
    my_report_loss(Loss::event, event_.remedy,
                   M("AP %s: %s because the database cannot be reached (%u: %s)", key_.c_str(),
                     event_.loss, error.number, error.text.c_str()));
  }
  return is_open_;
}

void Connection::close() {
  if (!is_open_) {
    return;
  }
  check_unchecked();
  hint_check::count_dropped(ahead_.size());
  ahead_.clear();
  my_mysql_close(connection_);
  is_open_ = false;
  is_lost_ = false;
}

MyTicket Connection::send(const Statement& statement) {
  if (!is_open_ || !statement.sound) {
    return 0;
  }
  const MyTicket ticket = my_mysql_query(connection_, "%s", statement.text.c_str());
  is_lost_ = is_lost_ || ticket == 0;
  return ticket;
}

MyTicket Connection::send(const Step& step, const Statement& statement) {
  const MyTicket ticket = send(statement);
  trace(step, statement.text);
  if (!statement.sound) {
    trace(step, "not sent: a value would break the statement");
  }
  return ticket;
}

void Connection::run(const Step& step, const Statement& statement) {
  const MyTicket ticket = send(step, statement);
  if (!is_open_ || !statement.sound) {
    return;
  }
  unchecked_.push_back({ticket, step.operation, is_in_transaction_});
  if (is_traced_) {  // waited for, so that the trace tells of a failure below its statement
    const MyOutcome outcome = my_mysql_outcome(connection_, ticket);
    if (outcome.fate != MyFate::done) {
      trace_failure(step, statement, outcome.error);
    }
  }
}

Rows Connection::answer(const Query& query, Ahead ahead) {
  Rows rows =
      ahead.rows ? *std::move(ahead.rows) : Rows(my_mysql_store_result(connection_, ahead.ticket));
  rows.rewind();
  if (!rows && is_open_ && query.statement.sound) {
    const MyOutcome outcome = my_mysql_outcome(connection_, ahead.ticket);
    trace_failure(query.step, query.statement, outcome.error);
    if (!query.may_lack_table || outcome.error.number != kNoTable) {
      report_failure(query.step.operation, outcome, is_in_transaction_);
    }
  }
  return rows;
}

Rows Connection::ask(const Query& query) {
  const auto fetched = ahead_.find(query.statement.text);
  if (fetched == ahead_.end()) {
    const MyTicket ticket = send(query.step, query.statement);
    return answer(query, {ticket, std::nullopt});
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

bool Connection::is_remembered(const Query& query) const {
  return !is_traced_ && found_.contains(query.statement.text);
}

std::optional<std::string> Connection::look_up(const Query& query) {
  is_traced_ = is_tracing();
  if (is_remembered(query)) {
    return found_.find(query.statement.text)->second;
  }
  Rows rows = ask(query);
  std::optional<std::string> text = rows.first_text();
  if (text) {
    found_.insert_or_assign(query.statement.text, *text);
  }
  return text;
}

void Connection::fetch_ahead(const Query& query) {
  const std::string& text = query.statement.text;
  if (hint_check::is_without_hints() || is_remembered(query) ||
      (!is_traced_ && ahead_.contains(text))) {
    return;
  }
  if (const MyTicket ticket = send(query.statement); ticket != 0) {
    ahead_.emplace(text, Ahead{ticket, std::nullopt});
    hint_check::count_fetched();
  }
}

Rows& Connection::peek(const Query& query) {
  static Rows none(nullptr);
  const auto fetched = ahead_.find(query.statement.text);
  if (fetched == ahead_.end()) {
    return none;
  }
  Ahead& ahead = fetched->second;
  if (!ahead.rows) {
    ahead.rows.emplace(my_mysql_store_result(connection_, ahead.ticket));
  }
  ahead.rows->rewind();
  return *ahead.rows;
}

std::optional<std::string> Connection::peek_look_up(const Query& query) {
  return is_remembered(query) ? found_.find(query.statement.text)->second
                              : peek(query).first_text();
}

void Connection::in_transaction(const Step& what, const std::function<void()>& body) {
  is_in_transaction_ = true;
  for (int run_number = 0; run_number <= kRepetitions; ++run_number) {
    is_undone_ = false;
    run(untraced, statement("START TRANSACTION"));
    body();
    run(untraced, statement("COMMIT"));
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
  run(untraced, statement("ROLLBACK"));
  return attempt(untraced, "SET autocommit=1").outcome().fate == MyFate::done;
}

void Connection::trace(const Step& step, const std::string& text) {
  is_traced_ = is_tracing();
  if (is_traced_ && step.operation != nullptr) {
    ap_debug_log({step.operation, key_, step.line}, "%s%s", step.mark.c_str(), text.c_str());
  }
}

void Connection::trace_failure(const Step& step, const Statement& statement,
                               const MyError& error) const {
  if (step.operation != nullptr) {
    note(step, "failed: %u %s", error.number, error.text.c_str());
  } else {
    note(Step(kDatabase), "%s failed: %u %s", statement.text.c_str(), error.number,
         error.text.c_str());
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
    const MyOutcome outcome = my_mysql_outcome(connection_, sent.ticket);
    if (outcome.fate != MyFate::done) {
      report_failure(sent.operation, outcome, sent.in_transaction);
    }
  }
  unchecked_.clear();
}

void Connection::report_failure(const char* operation, const MyOutcome& outcome,
                                bool in_transaction) {
  if (outcome.fate == MyFate::repeat && in_transaction) {
    is_undone_ = true;
    return;
  }
  const MyError& error = outcome.error;
  if (error.number == kDuplicateRow) {
    return;
  }
  const bool is_lost = error.number >= kFirstClientError && error.number <= kLastClientError;
  is_lost_ = is_lost_ || is_lost;
  if (is_lost) {
    my_report_loss(Loss::event, event_.remedy,
                   M("AP %s: %s in part because the database connection was lost (%u: %s)",
                     key_.c_str(), event_.loss, error.number, error.text.c_str()));
  } else {
    my_report_loss(
        Loss::statement, Remedy::none,
        M("AP %s: %s: a statement was refused (%u: %s)", key_.c_str(),
          operation == nullptr ? kDatabase : operation, error.number, error.text.c_str()));
  }
}
