#include "session.h"

#include <errmsg.h>
#include <fcntl.h>
#include <mysqld_error.h>
#include <openssl/crypto.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "values/paths.h"

namespace {

constexpr const char* kOptionGroup = "ap-run";

/// How many bytes of statements are sent ahead of their answers at most. The server may stop reading
/// until its rows are taken; what it has not read has to fit into a socket's smallest buffers, or each
/// side would wait for the other.
constexpr std::size_t kMostBytesSentAhead = 16'384;

/// Whether the error is the client library's own: the connection is gone or out of step.
bool is_client_error(unsigned int error) {
  return error >= CR_MIN_ERROR && error <= CR_MAX_ERROR;
}

MyFate fate_of(unsigned int error) {
  switch (error) {
    case 0:
      return MyFate::done;
    case ER_LOCK_WAIT_TIMEOUT:
    case ER_LOCK_DEADLOCK:
    case ER_ERROR_DURING_COMMIT:  // as when the group has changed meanwhile
      return MyFate::repeat;
    default:
      return is_client_error(error) ? MyFate::lost : MyFate::failed;
  }
}

MyError error_of(MYSQL* mysql) {
  return {mysql_errno(mysql), mysql_error(mysql)};
}

int socket_of(MYSQL* mysql) {
  return static_cast<int>(mysql_get_socket(mysql));
}

/// Only the option file tells the client library where to connect.
void forget_variables() {
  for (const char* name : {"MYSQL_UNIX_PORT", "MARIADB_UNIX_PORT", "MYSQL_TCP_PORT", "MYSQL_HOME",
                           "MARIADB_HOME", "MYSQL_GROUP_SUFFIX", "MYSQL_PWD", "MARIADB_PLUGIN_DIR",
                           "LIBMYSQL_PLUGINS", "OPENSSL_CONF"}) {
    unsetenv(name);
  }
}

/// The client library (of Debian 12) loads all of its TLS library, whether or not a connection wants
/// TLS: tables of names and error texts, a configuration file, and at the exit the freeing of it
/// all, three quarters of a short hook's processor time. What is declined here is not loaded later.
void start_tls_library() {
  constexpr std::uint64_t kWithoutTls =
      OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS |
      OPENSSL_INIT_NO_ADD_ALL_CIPHERS | OPENSSL_INIT_NO_ADD_ALL_DIGESTS;
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT | (may_ask_for_tls() ? 0 : kWithoutTls), nullptr);
}

void set_options(MYSQL* mysql, WaitTime connect_limit) {
  const auto seconds = [](WaitTime limit) {
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

/// How long to wait before a full server is asked again: first, and at most.
constexpr WaitTime kFirstPause = std::chrono::milliseconds(20);
constexpr WaitTime kLongestPause = std::chrono::milliseconds(160);

/// Why the server of this connection cannot serve; no number when it can. Reads a table, which a
/// server outside of its group refuses. Other errors are no reason to look for another server.
MyError unreadiness(MYSQL* mysql, const DatabaseHost& host, WaitTime limit) {
  const BudgetedWait wait(limit, socket_of(mysql));
  const bool has_answered =
      mysql_query(mysql, "SELECT @@global.read_only, EXISTS(SELECT 1 FROM `AP_INFO`.`ap_list`)") ==
      0;
  const StoredRows rows(has_answered ? mysql_store_result(mysql) : nullptr);
  MyError error = error_of(mysql);
  if (error.number == kNotInGroup || is_client_error(error.number)) {
    return error;
  }
  MYSQL_ROW row = rows ? mysql_fetch_row(rows.get()) : nullptr;
  return row != nullptr && row[0] != nullptr && row[0] != std::string_view("0")
             ? MyError{ER_OPTION_PREVENTS_STATEMENT, "The server " + host.name + " is read-only"}
             : MyError{};
}

/// A handle that is connected to the server, or null. One of several must be ready to serve, too.
MyHandle connect_if_ready(const DatabaseHost& host, WaitTime limit) {
  const auto end = WaitClock::now() + limit;
  MyHandle mysql = connect_to(host, limit);
  if (mysql && !host.name.empty()) {
    MyError reason = unreadiness(mysql.get(), host, end - WaitClock::now());
    if (reason.number != 0) {
      MySession::refusal = std::move(reason);
      mysql.reset();
    }
  }
  return mysql;
}

/// A connected handle, or null. Several hosts share the time that is left equally. A full server is
/// asked again until `end`: when all APs join at once, others give their connections back every few
/// milliseconds.
MyHandle connect_by(WaitClock::time_point end, const std::vector<DatabaseHost>& hosts) {
  for (WaitTime pause = kFirstPause;; pause = std::min(pause * 2, kLongestPause)) {
    const auto end_of_round = std::min(WaitClock::now() + kConnectLimit, end);
    auto untried = static_cast<int>(hosts.size());
    bool is_full = false;
    for (const DatabaseHost& host : hosts) {
      if (MyHandle mysql = connect_if_ready(host, (end_of_round - WaitClock::now()) / untried--)) {
        return mysql;
      }
      is_full = is_full || MySession::refusal.number == ER_CON_COUNT_ERROR;
    }
    if (!is_full || WaitClock::now() + pause >= end) {
      return nullptr;
    }
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace

MyHandle new_handle() {
  static const bool is_prepared = [] {
    forget_variables();
    start_tls_library();
    return true;
  }();
  return MyHandle(is_prepared ? mysql_init(nullptr) : nullptr);
}

MyHandle connect_to(const DatabaseHost& host, WaitTime limit) {
  MyHandle mysql = new_handle();
  if (mysql) {
    set_options(mysql.get(), limit);
    const BudgetedWait wait(limit);
    if (mysql_real_connect(mysql.get(), host.name.empty() ? nullptr : host.name.c_str(), nullptr,
                           nullptr, nullptr, host.port, nullptr, 0) == nullptr) {
      MySession::refusal = error_of(mysql.get());
      mysql.reset();
    }
  }
  return mysql;
}

std::shared_ptr<MySession> MySession::connect() {
  const auto start = WaitClock::now();
  const WaitTime left = wait_budget_left();
  const std::vector<DatabaseHost> hosts = database_hosts();
  MyHandle mysql = connect_by(start + std::min(kFullLimit, left), hosts);
  if (!mysql) {
    wait_budget_rest();
    if (WaitClock::now() - start >=
        std::min(kConnectLimit, left) / static_cast<int>(hosts.size())) {
      wait_budget_end();
    }
    return nullptr;
  }
  auto session = std::make_shared<MySession>(std::move(mysql));
  MYSQL* const handle = session->handle();
  fcntl(socket_of(handle), F_SETFD, FD_CLOEXEC);
  // With an empty mode the zero datetime, clamping and truncation behave the same on every server.
  session->send("SET SESSION sql_mode=''");
  // Transactions see what others have committed, and lock no gaps between rows.
  session->send("SET SESSION TRANSACTION ISOLATION LEVEL READ COMMITTED");
  if ((handle->server_status & SERVER_STATUS_NO_BACKSLASH_ESCAPES) != 0) {
    session->settle();  // so that escaping follows the new mode
  }
  return session;
}

MySession::~MySession() {
  wait_budget_rest();
}

MyTicket MySession::send(std::string_view statement) {
  if (sent_.size() >= kMostSentAhead || sent_bytes_ + statement.size() > kMostBytesSentAhead) {
    // Half of them: to turn from sending to reading for each statement would cost more.
    while (sent_.size() > kMostSentAhead / 2 ||
           (!sent_.empty() && sent_bytes_ + statement.size() > kMostBytesSentAhead / 2)) {
      collect_one();
    }
  }
  if (lost_) {
    return 0;
  }
  const BudgetedWait wait(kAnswerLimit, socket_of(handle()));
  if (mysql_send_query(handle(), statement.data(), static_cast<unsigned long>(statement.size())) !=
      0) {
    lose(error_of(handle()));
    return 0;
  }
  sent_.push_back(statement.size());
  sent_bytes_ += statement.size();
  return ++last_ticket_;
}

void MySession::collect_one() {
  sent_bytes_ -= sent_.front();
  sent_.pop_front();

  const BudgetedWait wait(kAnswerLimit, socket_of(handle()));
  last_insert_id_ = 0;
  auto& [outcome, rows] = answers_.emplace_back();
  bool failed = mysql_read_query_result(handle()) != 0;
  if (!failed && mysql_field_count(handle()) > 0) {
    rows.reset(mysql_store_result(handle()));
    failed = !rows;
  } else if (!failed) {
    last_insert_id_ = mysql_insert_id(handle());
    outcome.changed_rows = mysql_affected_rows(handle());
  }
  if (failed) {
    outcome.error = error_of(handle());
  }
  outcome.fate = fate_of(outcome.error.number);
  // Another server of the list may serve what comes next.
  const bool has_left_group = outcome.error.number == kNotInGroup && database_hosts().size() > 1;
  if (has_left_group || outcome.fate == MyFate::lost) {
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
  if (const Answer* answer = answer_to(ticket)) {
    return answer->outcome;
  }
  return lost_ ? MyOutcome{fate_of(lost_->number), 0, *lost_} : MyOutcome{};
}

void MySession::forget_answers() {
  answers_.clear();
  first_ticket_ = last_ticket_ + 1;
}

MyResult* MySession::take_rows(MyTicket ticket) {
  Answer* answer = answer_to(ticket);
  return answer != nullptr && answer->rows ? new MyResult{std::move(answer->rows)} : nullptr;
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
  pollfd incoming{socket_of(handle()), POLLIN, 0};
  return !lost_ && (!sent_.empty() || poll(&incoming, 1, 0) == 0);
}
