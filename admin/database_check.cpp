#include "database_check.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <regex>
#include <set>

#include "db/connection.h"
#include "db/schema.h"
#include "needed_schema.h"
#include "platform/text.h"
#include "schema_version.h"
#include "session.h"
#include "values/decimal.h"
#include "values/paths.h"

namespace {

constexpr const char* kLogSchema = "/usr/share/ap-run/40-connection-log.sql";

/// Clocks that differ by less, in seconds, count as equal.
constexpr std::int64_t kClockTolerance = 30;

std::tm local_time(std::time_t when) {
  std::tm local{};
  localtime_r(&when, &local);
  return local;
}

std::string log_database(std::time_t day) {
  const std::tm local = local_time(day);
  return M("%s_%04d%02d%02d", CONNTRACK_LOG.c_str(), local.tm_year + 1900, local.tm_mon + 1,
           local.tm_mday);
}

/// The connection-log databases that have to be there, by our clock: of today, and of tomorrow,
/// which the server makes at five past midnight.
std::vector<std::string> log_databases() {
  constexpr std::time_t kDay = 86'400;  // seconds
  constexpr int kMinutesToMake = 10;
  const std::time_t now = std::time(nullptr);
  const std::tm local = local_time(now);
  std::vector<std::string> databases{log_database(now)};
  if (local.tm_hour > 0 || local.tm_min >= kMinutesToMake) {
    databases.push_back(log_database(now + kDay));
  }
  return databases;
}

/// All databases of interest, as a list for IN (...).
Statement database_list() {
  Statement list = statement("'%s', '%s', '%s', '%s'", AP_INFO.text(), AP_CLIENT.text(),
                             AP_POOR_CLIENT.text(), AP_USER.text());
  for (const std::string& database : log_databases()) {
    list = statement("%s, '%s'", list, database);
  }
  return list;
}

/// The tables of these databases, as the server describes them.
Schema ask_schema(Connection& db) {
  const Statement databases = database_list();
  Rows columns =
      db.ask(untraced,
             "SELECT CONCAT(`TABLE_SCHEMA`, '.', `TABLE_NAME`), LOWER(`COLUMN_NAME`), "
             "`COLUMN_TYPE`, `COLLATION_NAME`, `EXTRA` FROM information_schema.COLUMNS WHERE "
             "`TABLE_SCHEMA` IN (%s)",
             databases);
  // A key over the beginning of a column is not unique in the whole.
  Rows keys =
      db.ask(untraced,
             "SELECT CONCAT(`TABLE_SCHEMA`, '.', `TABLE_NAME`), `INDEX_NAME`, `NON_UNIQUE` OR "
             "`SUB_PART` IS NOT NULL, LOWER(`COLUMN_NAME`) FROM information_schema.STATISTICS "
             "WHERE `TABLE_SCHEMA` IN (%s) ORDER BY 1, 2, `SEQ_IN_INDEX`",
             databases);
  Schema schema;
  for (const Row& row : columns) {
    schema[row.text(0)].columns[row.text(1)] = {row.text(2), row.text(3), row.text(4)};
  }
  for (const Row& row : keys) {
    Table::Key& key = schema[row.text(0)].keys[row.text(1)];
    key.unique = row.number(2) == 0;
    key.columns.push_back(row.text(3));
  }
  return schema;
}

/// What the client library makes of the option file.
Findings check_option_file() {
  static const std::regex kGroup(R"(\s*\[\s*([^\]]*?)\s*\].*)");
  static const std::regex kReadGroup("client|client-server|client-mariadb|ap-run");
  static const std::regex kNoOption(R"(\s*([#;].*)?)");
  static const std::regex kBareVerify(R"(\s*ssl[-_]verify[-_]server[-_]cert\s*)");
  const char* const path = paths::kDatabaseOptions;
  struct stat info {};
  const bool is_open = stat(path, &info) == 0 && (info.st_mode & S_IROTH) != 0;
  bool has_options = false;  // in any group
  bool is_read = false;      // some are in a group that the library reads, or in another file
  bool bare_verify = false;  // verification of the server is asked for without a value
  bool in_read_group = false;
  std::ifstream file(path);
  std::smatch match;
  for (std::string line; std::getline(file, line);) {
    if (std::regex_match(line, match, kGroup)) {
      in_read_group = std::regex_match(match[1].str(), kReadGroup);
    } else if (!std::regex_match(line, kNoOption)) {
      has_options = true;
      is_read = is_read || in_read_group || line.starts_with('!');
      bare_verify = bare_verify || std::regex_match(line, kBareVerify);
    }
  }
  return amiss(
      {{is_open,
        {Severity::warning, "option-file-open",
         M("%s, which may hold a password, can be read by every user.", path),
         M("Run chmod 640 %s.", path)}},
       {has_options && !is_read,
        {Severity::warning, "option-file-unread",
         M("No option in %s is below a line [client] or [ap-run]: none of them counts.", path),
         "Put the line [ap-run] in front of the options."}},
       {bare_verify,
        {Severity::warning, "server-not-verified",
         M("%s has ssl-verify-server-cert without a value, which the client library takes for "
           "off: any certificate of the authority passes.",
           path),
         "Write ssl-verify-server-cert = 1."}}});
}

Findings check_tables(const Schema& schema, bool has_poor_clients) {
  Findings findings = compare_schema(schema);
  add(findings,
      amiss({{!has_poor_clients,
              {Severity::problem, "database-missing",
               M("Database %s does not exist, or the user may not see it.", AP_POOR_CLIENT.c_str()),
               "Apply /usr/share/ap-run/20-ap-client.sql, or give the user the right."}}}));
  for (const std::string& database : log_databases()) {
    const NeededTable needed = needed_log_table(database);
    const std::string name = database + "." + needed.table;
    const auto found = schema.find(name);
    if (found != schema.end()) {
      add(findings, compare_table(needed, found->second));
      continue;
    }
    findings.push_back({Severity::warning, "log-missing",
                        name + " does not exist: the connection log of that day is lost.",
                        M("Apply %s, and keep the server's event scheduler on, which makes the "
                          "days to come.",
                          kLogSchema)});
  }
  return findings;
}

/// The rights that the program needs on a database.
struct NeededRights {
  std::string database;
  std::string pattern;  // for GRANT
  std::vector<std::string> rights;
};

std::vector<NeededRights> needed_rights() {
  return {{AP_INFO, AP_INFO, {"SELECT", "INSERT", "UPDATE"}},
          {AP_CLIENT, AP_CLIENT, {"SELECT", "INSERT", "UPDATE", "DELETE", "CREATE", "DROP"}},
          {AP_POOR_CLIENT, AP_POOR_CLIENT, {"SELECT", "INSERT", "UPDATE", "CREATE", "DROP"}},
          {AP_USER, AP_USER, {"SELECT"}},
          {log_databases().front(), M("%s\\_%%", CONNTRACK_LOG.c_str()), {"INSERT"}}};
}

using Rights = std::set<std::string>;

/// The rights that our user was given on `database` and on all databases; none when the server does
/// not say.
std::optional<Rights> ask_rights(Connection& db, const std::string& database) {
  Rows rows = db.ask(
      untraced,
      "SELECT `PRIVILEGE_TYPE` FROM (SELECT `GRANTEE`, `PRIVILEGE_TYPE` FROM "
      "information_schema.USER_PRIVILEGES UNION SELECT `GRANTEE`, `PRIVILEGE_TYPE` FROM "
      "information_schema.SCHEMA_PRIVILEGES WHERE '%s' LIKE `TABLE_SCHEMA`) AS `given` WHERE "
      "`GRANTEE`=CONCAT('''', REPLACE(CURRENT_USER(), '@', '''@'''), '''')",
      database);
  if (!rows) {
    return std::nullopt;
  }
  Rights rights;
  for (const Row& row : rows) {
    rights.insert(row.text(0));
  }
  return rights;
}

Findings check_rights(const NeededRights& needed, const Rights& given) {
  std::string missing;
  for (const std::string& right : needed.rights) {
    if (!given.contains(right)) {
      missing += (missing.empty() ? "" : ", ") + right;
    }
  }
  return amiss({{!missing.empty(),
                 {Severity::warning, "right-missing",
                  "The database user was not given " + missing + " on " + needed.database +
                      " (rights on single tables and by roles are not looked at).",
                  "As the server's administrator, run GRANT " + missing + " ON `" + needed.pattern +
                      "`.* TO the user."}}});
}

Findings check_clock(std::int64_t server_seconds, const std::string& server_time) {
  const std::int64_t ahead = server_seconds - std::time(nullptr);
  const std::tm local = local_time(server_seconds);
  const std::string our_time = M("%02d:%02d", local.tm_hour, local.tm_min);
  const bool differs = std::abs(ahead) > kClockTolerance;
  return amiss(
      {{differs,
        {Severity::warning, "clock-differs",
         M("The database server's clock is %lld seconds %s ours: times in tables do not fit those "
           "in traces.",
           static_cast<long long>(std::abs(ahead)), ahead > 0 ? "ahead of" : "behind"),
         "Let both hosts follow the same time server."}},
       {!differs && server_time != our_time,
        {Severity::warning, "time-zone-differs",
         M("It is %s for the database server and %s here: times in tables are in another time "
           "zone, and the connection log changes days at another hour.",
           server_time.c_str(), our_time.c_str()),
         "Set default_time_zone in the server's configuration to this host's zone."}}});
}

Findings check_server(const Row& row) {
  Findings findings = amiss(
      {{row.text(3) == "1",
        {Severity::problem, "server-read-only",
         "The database server is read-only, such as a replica: nothing is stored.",
         M("Name the writable server in %s.", paths::kDatabaseOptions)}},
       {row.text(9) == "1" && row.text(10) == "STATEMENT",
        {Severity::problem, "binlog-format",
         "The database server keeps a binary log of statements, so it refuses what is written in "
         "READ COMMITTED sessions (error 1665), as those of the hooks are: nothing is stored.",
         "Set binlog_format = MIXED in the server's configuration, section [mariadbd], and restart "
         "it, or run SET GLOBAL binlog_format = 'MIXED';"}},
       {row.text(4) != "ON",
        {Severity::warning, "scheduler-off",
         "The database server's event scheduler is off: from the day after tomorrow there is no "
         "connection log.",
         "Set event_scheduler = ON in the server's configuration, section [mariadbd], and restart "
         "it, or run SET GLOBAL event_scheduler = ON;"}},
       {row.text(7) != "latin1",
        {Severity::warning, "charset-differs",
         M("The connection's character set is %s: SSIDs that are no text in it are lost.",
           row.text(7).c_str()),
         M("Take default-character-set out of %s.", paths::kDatabaseOptions)}},
       {row.text(8) == "1",
        {Severity::note, "flush-each-statement",
         "The database server waits for the disk after every statement: reports may take several "
         "times as long, and flash memory wears out.",
         "Set innodb_flush_log_at_trx_commit = 2 in the server's configuration, unless other data "
         "on it must outlive a power cut to the last second."}}});
  add(findings, check_clock(decimal(row.text(5)), row.text(6)));
  return findings;
}

/// Whether the server has room for the registered APs. Each may have two MyISAM tables, and one that
/// is open takes two files. 1,000 APs that joined at once used 151 connections for six of the ten
/// seconds that a hook tries.
Findings check_room(Connection& db) {
  Rows rows = db.ask(untraced,
                     "SELECT 2*LEAST(2*COUNT(*), @@global.table_open_cache) + "
                     "@@global.max_connections > @@global.open_files_limit, "
                     "COUNT(*) > 10*@@global.max_connections FROM `%s`.`ap_list`",
                     AP_INFO);
  const std::optional<Row> row = rows.next();
  return amiss(
      {{row && row->number(0) != 0,
        {Severity::warning, "files-few",
         "The database server may open fewer files than the tables of the APs take: once it has "
         "opened as many, it refuses statements, and then everybody.",
         "Set its table_open_cache to less than half of open_files_limit, or raise that, and "
         "LimitNOFILE of its systemd service."}},
       {row && row->number(1) != 0,
        {Severity::note, "connections-few",
         "There are more than ten APs for each connection of the database server: when all join at "
         "once, as after a power cut, some are not recorded.",
         "Raise its max_connections."}}});
}

/// A user without the right EVENT sees no events; whether ours works shows in the logs that it
/// makes.
Findings check_event(Connection& db, const Rights& rights, bool log_is_missing) {
  const std::optional<std::string> status =
      db.ask(untraced,
             "SELECT `STATUS` FROM information_schema.EVENTS WHERE `EVENT_SCHEMA`='%s' AND "
             "`EVENT_NAME`='connection_log_days'",
             AP_INFO.text())
          .first_text();
  const bool is_seen = status || rights.contains("EVENT");
  const std::string event = "The server's event AP_INFO.connection_log_days";
  return amiss(
      {{!is_seen && log_is_missing,
        {Severity::note, "event-unseen",
         event + ", which makes the connection logs of the days to come, cannot be looked at: the "
                 "database user lacks the right EVENT.",
         "As the server's administrator, run SHOW EVENTS FROM AP_INFO; or GRANT EVENT ON AP_INFO.* "
         "TO the user."}},
       {is_seen && status != "ENABLED",
        {Severity::warning, "event-missing",
         event + (status ? " is not enabled" : " does not exist") +
             ": nothing makes the connection logs of the days to come.",
         M("Apply %s, or see the event run on the server that the others replicate.",
           kLogSchema)}}});
}

Findings check_all_rights(Connection& db, bool log_is_missing) {
  Findings findings;
  for (const NeededRights& needed : needed_rights()) {
    if (const std::optional<Rights> given = ask_rights(db, needed.database)) {
      add(findings, check_rights(needed, *given));
      if (needed.database == AP_INFO.text()) {
        add(findings, check_event(db, *given, log_is_missing));
      }
    }
  }
  return findings;
}

Finding unreached() {
  const std::string& reason = MySession::refusal.text;
  return {Severity::problem, "database-unreachable",
          "The database cannot be reached (" + (reason.empty() ? "no reason given" : reason) +
              "): events leave no trace in it.",
          M("See that the server runs, and that host, user and password in %s are right. Without "
            "that file the local socket is used, as the calling user.",
            paths::kDatabaseOptions)};
}

}  // namespace

DatabaseResult check_database() {
  DatabaseResult result{{}, check_option_file()};
  Findings& findings = result.findings;
  Connection db("", {"check dropped", Remedy::none});
  if (!db.open()) {
    findings.insert(findings.begin(), unreached());
    return result;
  }
  Rows about = db.ask(untraced,
                      "SELECT @@version, @@hostname, CURRENT_USER(), @@global.read_only, "
                      "@@global.event_scheduler, UNIX_TIMESTAMP(), DATE_FORMAT(NOW(), '%%H:%%i'),"
                      " @@character_set_client, @@global.innodb_flush_log_at_trx_commit, "
                      "@@global.log_bin, @@session.binlog_format");
  const std::optional<Row> row = about.next();
  if (!row) {
    findings.push_back({Severity::problem, "database-silent",
                        "The database server took the connection but does not answer.",
                        "Look at its error log and its load (SHOW FULL PROCESSLIST)."});
    return result;
  }
  Rows ciphers = db.ask(untraced, "SHOW SESSION STATUS LIKE 'Ssl_cipher'");
  const std::optional<Row> encryption = ciphers.next();
  result.server = {true, row->text(0), row->text(1), row->text(2),
                   encryption ? encryption->text(1) : ""};
  add(findings, check_server(*row));
  add(findings, check_room(db));
  const Rows poor =
      db.ask(untraced, "SELECT 1 FROM information_schema.SCHEMATA WHERE `SCHEMA_NAME`='%s'",
             AP_POOR_CLIENT.text());
  add(findings, check_tables(ask_schema(db), poor.count() > 0));
  add(findings, check_schema_version(db));
  const bool log_is_missing =
      std::any_of(findings.begin(), findings.end(),
                  [](const Finding& finding) { return finding.name == "log-missing"; });
  add(findings, check_all_rights(db, log_is_missing));
  return result;
}
