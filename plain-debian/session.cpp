#include "session.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "values/paths.h"

namespace {

constexpr const char* kOptionGroup = "ap-run";

/// How far statements may run ahead of their answers, in bytes. The server may stop reading while it
/// waits to hand out rows; as long as what it has not read fits into a socket's smallest buffers,
/// sending never waits for it and the two sides cannot block each other.
constexpr std::size_t kMostBytesSentAhead = 16'384;

/// Errors from here on are the client library's own: the connection is gone or out of step. Below
/// are the server's, which concern one statement.
constexpr unsigned int kFirstClientError = 2000;
constexpr unsigned int kLastClientError = 2999;

/// The server's errors that say that the statement may be sent again.
constexpr unsigned int kLockWaitTimeout = 1205;
constexpr unsigned int kDeadlock = 1213;
constexpr unsigned int kErrorDuringCommit = 1180;  // as when the group has changed meanwhile

MyFate fate_of(unsigned int error) {
  if (error == 0) {
    return MyFate::done;
  }
  return error == kDeadlock || error == kLockWaitTimeout || error == kErrorDuringCommit
             ? MyFate::repeat
             : MyFate::failed;
}

using Clock = std::chrono::steady_clock;

/// Nothing but the option file leads the client library anywhere.
void forget_variables() {
  for (const char* name : {"MYSQL_UNIX_PORT", "MARIADB_UNIX_PORT", "MYSQL_TCP_PORT", "MYSQL_HOME",
                           "MARIADB_HOME", "MYSQL_GROUP_SUFFIX", "MYSQL_PWD", "MARIADB_PLUGIN_DIR",
                           "LIBMYSQL_PLUGINS", "OPENSSL_CONF"}) {
    unsetenv(name);
  }
}

/// The client library (of Debian 12) starts its TLS library with everything that this has, whether
/// or not a connection wants TLS: tables of names and error texts, a configuration file, and at the
/// exit the freeing of it all. That is three quarters of what a short hook has the processor do.
/// What has been declined before stays away.
void start_tls_library() {
  constexpr std::uint64_t kWithoutTls =
      OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS |
      OPENSSL_INIT_NO_ADD_ALL_CIPHERS | OPENSSL_INIT_NO_ADD_ALL_DIGESTS;
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT | (may_ask_for_tls() ? 0 : kWithoutTls), nullptr);
}

void set_options(MYSQL* mysql, Clock::duration connect_limit) {
  const auto seconds = [](Clock::duration limit) {
    return static_cast<unsigned int>(std::chrono::ceil<std::chrono::seconds>(limit).count());
  };
  const unsigned int connect_seconds = std::max(seconds(connect_limit), 1U);  // 0: no limit
  const unsigned int answer_seconds = seconds(kAnswerLimit);
  const unsigned int off = 0;
  if (access(paths::kDatabaseOptions, R_OK) == 0) {
    mysql_options(mysql, MYSQL_READ_DEFAULT_FILE, paths::kDatabaseOptions);
    mysql_options(mysql, MYSQL_READ_DEFAULT_GROUP, kOptionGroup);
  }
  // Every byte is a character in latin1, so any SSID passes, and unlike on binary strings UPPER
  // works. The option file is read later and may name another.
  mysql_options(mysql, MYSQL_SET_CHARSET_NAME, "latin1");
  mysql_options(mysql, MYSQL_OPT_CONNECT_TIMEOUT, &connect_seconds);
  mysql_options(mysql, MYSQL_OPT_READ_TIMEOUT, &answer_seconds);
  mysql_options(mysql, MYSQL_OPT_WRITE_TIMEOUT, &answer_seconds);
  mysql_options(mysql, MYSQL_OPT_LOCAL_INFILE, &off);
}

/// The server's refusal of a connection beyond those it allows.
constexpr unsigned int kTooManyConnections = 1040;

/// How long a full server is left alone before it is asked again: first, and at most.
constexpr WaitTime kFirstPause{20};
constexpr WaitTime kLongestPause{160};

/// With what a read-only server refuses statements.
constexpr unsigned int kReadOnly = 1290;

/// Why the server of this connection cannot serve; no number when it can. Touches a table, which a
/// server outside of its group does not allow. Other errors are no reason to look for another server.
MyError unreadiness(MYSQL* mysql, const DatabaseHost& host, WaitTime limit) {
  const BudgetedWait wait(limit, static_cast<int>(mysql_get_socket(mysql)));
  const bool has_answered =
      mysql_query(mysql, "SELECT @@global.read_only, EXISTS(SELECT 1 FROM `AP_INFO`.`ap_list`)") ==
      0;
  const std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)> rows(
      has_answered ? mysql_store_result(mysql) : nullptr, mysql_free_result);
  const unsigned int error = mysql_errno(mysql);
  if (error == kNotInGroup || (error >= kFirstClientError && error <= kLastClientError)) {
    return {error, mysql_error(mysql)};
  }
  MYSQL_ROW row = rows == nullptr ? nullptr : mysql_fetch_row(rows.get());
  return row != nullptr && row[0] != nullptr && row[0] != std::string_view("0")
             ? MyError{kReadOnly, "The server " + host.name + " is read-only"}
             : MyError{};
}

/// A handle that is connected to a server, or null. One of several has to be ready to serve as well.
MYSQL* connect_if_ready(const DatabaseHost& host, Clock::duration limit) {
  const auto end = Clock::now() + limit;
  MYSQL* mysql = connect_to(host, std::chrono::duration_cast<WaitTime>(limit));
  if (mysql == nullptr || host.name.empty()) {
    return mysql;
  }
  MyError reason =
      unreadiness(mysql, host, std::chrono::duration_cast<WaitTime>(end - Clock::now()));
  if (reason.number == 0) {
    return mysql;
  }
  MySession::refusal = std::move(reason);
  mysql_close(mysql);
  return nullptr;
}

/// A connected handle, or null. Of several hosts, each may take an equal part of the time that is
/// left. A server that is full is asked again, for as long as an answer is waited for: when all APs
/// join at once, others give their connections back every few milliseconds.
MYSQL* connect_by(Clock::time_point end, const std::vector<DatabaseHost>& hosts) {
  for (WaitTime pause = kFirstPause;; pause = std::min(pause * 2, kLongestPause)) {
    const auto end_of_round = std::min(Clock::now() + kConnectLimit, end);
    auto untried = static_cast<int>(hosts.size());
    bool is_full = false;
    for (const DatabaseHost& host : hosts) {
      if (MYSQL* mysql = connect_if_ready(host, (end_of_round - Clock::now()) / untried--)) {
        return mysql;
      }
      is_full = is_full || MySession::refusal.number == kTooManyConnections;
    }
    if (!is_full || Clock::now() + pause >= end) {
      return nullptr;
    }
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace

MYSQL* new_handle() {
  static const bool is_prepared = [] {
    forget_variables();
    start_tls_library();
    return true;
  }();
  return is_prepared ? mysql_init(nullptr) : nullptr;
}

MYSQL* connect_to(const DatabaseHost& host, WaitTime limit) {
  MYSQL* mysql = new_handle();
  if (mysql == nullptr) {
    return nullptr;
  }
  set_options(mysql, limit);
  const BudgetedWait wait(limit);
  if (mysql_real_connect(mysql, host.name.empty() ? nullptr : host.name.c_str(), nullptr, nullptr,
                         nullptr, host.port, nullptr, 0) != nullptr) {
    return mysql;
  }
  MySession::refusal = {mysql_errno(mysql), mysql_error(mysql)};
  mysql_close(mysql);
  return nullptr;
}

std::unique_ptr<MySession> MySession::connect() {
  const auto start = Clock::now();
  const WaitTime left = wait_budget_left();
  const std::vector<DatabaseHost> hosts = database_hosts();
  MYSQL* mysql = connect_by(start + std::min(kFullLimit, left), hosts);
  if (mysql == nullptr) {
    wait_budget_rest();
    if (Clock::now() - start >= std::min(kConnectLimit, left) / static_cast<int>(hosts.size())) {
      wait_budget_end();
    }
    return nullptr;
  }
  std::unique_ptr<MySession> session(new MySession(mysql));
  fcntl(session->socket(), F_SETFD, FD_CLOEXEC);
  // With an empty mode the zero datetime, clamping and truncation behave the same on every server.
  session->send("SET SESSION sql_mode=''");
  // Transactions see what others have committed, and lock no gaps between rows.
  session->send("SET SESSION TRANSACTION ISOLATION LEVEL READ COMMITTED");
  if ((mysql->server_status & SERVER_STATUS_NO_BACKSLASH_ESCAPES) != 0) {
    session->settle();  // only then does escaping follow the mode that the statements will meet
  }
  return session;
}

MySession::~MySession() {
  mysql_close(mysql_);
  wait_budget_rest();
}

int MySession::socket() const {
  return static_cast<int>(mysql_get_socket(mysql_));
}

MyTicket MySession::send(std::string_view statement) {
  if (sent_.size() >= kMostSentAhead || sent_bytes_ + statement.size() > kMostBytesSentAhead) {
    // Half at once: a turn from sending to reading for each statement would cost more.
    while (sent_.size() > kMostSentAhead / 2 ||
           (!sent_.empty() && sent_bytes_ + statement.size() > kMostBytesSentAhead / 2)) {
      collect_one();
    }
  }
  if (lost_) {
    return 0;
  }
  const BudgetedWait wait(kAnswerLimit, socket());
  if (mysql_send_query(mysql_, statement.data(), static_cast<unsigned long>(statement.size())) !=
      0) {
    lose({mysql_errno(mysql_), mysql_error(mysql_)});
    return 0;
  }
  sent_.push_back(statement.size());
  sent_bytes_ += statement.size();
  return ++last_ticket_;
}

void MySession::collect_one() {
  sent_bytes_ -= sent_.front();
  sent_.pop_front();

  const BudgetedWait wait(kAnswerLimit, socket());
  last_insert_id_ = 0;
  auto& [outcome, rows] = answers_.emplace_back();
  bool failed = mysql_read_query_result(mysql_) != 0;
  if (!failed && mysql_field_count(mysql_) > 0) {
    MYSQL_RES* stored = mysql_store_result(mysql_);
    failed = stored == nullptr;
    rows = failed ? nullptr : std::make_unique<MyResult>(stored);
  } else if (!failed) {
    last_insert_id_ = mysql_insert_id(mysql_);
    outcome.changed_rows = mysql_affected_rows(mysql_);
  }
  const unsigned int error = failed ? mysql_errno(mysql_) : 0;
  outcome.fate = fate_of(error);
  if (failed) {
    outcome.error = {error, mysql_error(mysql_)};
  }
  // Another server of the list may serve what comes next.
  const bool has_left_group = error == kNotInGroup && database_hosts().size() > 1;
  if (has_left_group || (error >= kFirstClientError && error <= kLastClientError)) {
    lose(outcome.error);
  }
}

/// Collects answers up to and with the one to `ticket`, which stays the session's; null for none.
MySession::Answer* MySession::answer_to(MyTicket ticket) {
  while (!sent_.empty() && first_ticket_ + answers_.size() <= ticket) {
    collect_one();
  }
  const bool is_there = ticket >= first_ticket_ && ticket < first_ticket_ + answers_.size();
  return is_there ? &answers_[ticket - first_ticket_] : nullptr;
}

MyOutcome MySession::outcome(MyTicket ticket) {
  const Answer* answer = answer_to(ticket);
  return answer != nullptr ? answer->outcome
                           : MyOutcome{MyFate::failed, 0, lost_.value_or(MyError{})};
}

void MySession::forget_answers() {
  answers_.clear();
  first_ticket_ = last_ticket_ + 1;
}

MyResult* MySession::take_rows(MyTicket ticket) {
  Answer* answer = answer_to(ticket);
  return answer != nullptr ? answer->rows.release() : nullptr;
}

void MySession::settle() {
  while (!sent_.empty()) {
    collect_one();
  }
}

void MySession::lose(MyError reason) {
  lost_ = std::move(reason);
  sent_.clear();
  sent_bytes_ = 0;
  last_insert_id_ = 0;
}

bool MySession::alive() const {
  // While nothing is outstanding, the only thing to come from the server is its farewell.
  pollfd incoming{socket(), POLLIN, 0};
  return !lost_ && (!sent_.empty() || poll(&incoming, 1, 0) == 0);
}
