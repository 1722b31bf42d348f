// What becomes of a join, a report and a leave when system calls are killed or fail, when the
// database is in a bad state, when directories are missing, and when 64 of them run at once.
//
// AP_RUN_WEATHER=all tries everything; else a part that takes half a minute. A table of the figures
// comes last.

#include <fcntl.h>
#include <syslog.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "platform/database.h"
#include "platform/text.h"
#include "support/appliance.h"
#include "support/false_server.h"

namespace {

namespace fs = std::filesystem;

bool is_whole() {
  const char* extent = std::getenv("AP_RUN_WEATHER");
  return extent != nullptr && std::string(extent) == "all";
}

// ---- Figures --------------------------------------------------------------------------------------

/// One line of the table.
struct Figures {
  int runs = 0;
  int kills = 0;
  int failures = 0;    // system calls made to fail
  int lost = 0;        // events that did not do all of their work
  int lines = 0;       // at priority err or warning in the system log
  double worst = 0.0;  // seconds that a run took

  void note(const kit::Usage& usage) {
    runs += 1;
    worst = std::max(worst, usage.wall_ms / 1000.0);
  }
};

std::vector<std::pair<std::string, Figures>> table;

Figures& figures(const std::string& name) {
  for (auto& [known, line] : table) {
    if (known == name) {
      return line;
    }
  }
  return table.emplace_back(name, Figures{}).second;
}

class Table : public testing::Environment {
  void TearDown() override {
    std::printf("\n%-34s %6s %6s %8s %6s %6s %8s\n", "weather", "runs", "kills", "failures", "lost",
                "lines", "worst s");
    for (const auto& [name, line] : table) {
      std::printf("%-34s %6d %6d %8d %6d %6d %8.1f\n", name.c_str(), line.runs, line.kills,
                  line.failures, line.lost, line.lines, line.worst);
    }
  }
};

const testing::Environment* const kTable = testing::AddGlobalTestEnvironment(new Table);

// ---- The three events -----------------------------------------------------------------------------

enum class Kind { join, report, leave };

constexpr Kind kKinds[] = {Kind::join, Kind::report, Kind::leave};

const char* name_of(Kind kind) {
  return kind == Kind::join ? "join" : kind == Kind::report ? "report" : "leave";
}

void PrintTo(Kind kind, std::ostream* stream) {
  *stream << name_of(kind);
}

const std::string kPath = "/database/ap/reports/weather.ini";

std::string mac_of(int ap) {
  return M("02:00:00:00:01:%02X", ap);
}

/// A report with something in every section: radios, two stations, a poorly served one, a radio of
/// the other AP, two foreign ones that every AP hears.
std::string report_text(int ap) {
  return M(
      "[00]\nMAC=%s\ncpu=12%%\nmemory=48%%\nversion=2.1.0\nuptime=3600\n"
      "[01]\nAddress=0a:00:00:00:00:%02x\nESSID=Office\nFrequency=2.437 GHz\n"
      "[Cell 01]\nAddress=0a:00:00:00:00:%02x\nESSID=Office\nSignal=-60 dBm\n"
      "[Cell 02]\nAddress=0c:00:00:00:00:01\nESSID=foreign\nSignal=-70 dBm\n"
      "[Cell 03]\nAddress=0c:00:00:00:00:02\nESSID=foreign\nSignal=-80 dBm\n"
      "[01 client 01]\nADDR=0d:00:00:00:01:%02x\nRATE=65M\nRSSI=30\n"
      "[01 client 02]\nADDR=0d:00:00:00:02:%02x\nRATE=65M\nRSSI=31\n"
      "[POOR_CLIENT 01]\nADDR=0e:00:00:00:01:%02x\nSSID=Office\nRSSI=9\nSTATUS=1\n"
      "CONNECTION_TIME=1718106552\n",
      mac_of(ap).c_str(), ap, ap == 8 ? 7 : 8, ap, ap, ap);
}

Words words_of(Kind kind, int ap) {
  switch (kind) {
    case Kind::join:
      return {"ap-up", kAddress, mac_of(ap)};
    case Kind::report:
      return {"ap-command", "1", kPath, kAddress, mac_of(ap)};
    case Kind::leave:
      break;
  }
  return {"ap-down", mac_of(ap)};
}

/// The files of the controller and of the AP, before an event.
void lay_out_files() {
  write_file(kPath, report_text(7));
  write_file("/database/ap/info/" + mac_of(7), "[SYSTEM]\nethernet_num=2\n");
  fs::remove("/database/ap/lock/" + mac_of(7));
  fs::remove(slot_of(mac_of(7)));
}

/// What lasts of an event: rows without times and serial numbers that depend on tries, the slot.
Lines result() {
  Lines all;
  for (const char* rows :
       {"SELECT 'ap', MAC, Name, IP, Status, action, wired_max, fw_version, uptime, ETime > 0 FROM "
        "AP_INFO.ap_list ORDER BY MAC",
        "SELECT 'legal', ap, refer_ap, mac, essid, essid_sn, `signal` FROM AP_CLIENT.legal ORDER "
        "BY refer_ap, mac",
        "SELECT 'illegal', ap_sn, mac, essid, `signal` FROM AP_CLIENT.illegal ORDER BY mac",
        "SELECT 'mesh', mac FROM AP_CLIENT.client"}) {
    const Lines some = sql_rows(rows);
    all.insert(all.end(), some.begin(), some.end());
  }
  for (const auto& row : sql("SELECT TABLE_SCHEMA, TABLE_NAME FROM information_schema.TABLES WHERE "
                             "TABLE_SCHEMA IN ('AP_CLIENT', 'AP_POOR_CLIENT') AND TABLE_NAME "
                             "LIKE 'AP\\_%' ORDER BY 1, 2")) {
    for (const std::string& station :
         sql_rows("SELECT mac, ssid, rssi FROM " + row[0] + "." + row[1] + " ORDER BY mac")) {
      all.push_back(row[0] + "." + row[1] + " " + station);
    }
  }
  return all;
}

/// What an event has done outside of the database.
Lines outside() {
  wait_for_helpers();
  Lines all = controller_calls();
  for (const char* place : {"/var/log/notice", "/database/ap/support", "/database/ap/info"}) {
    if (exists(place)) {
      const Lines names = names_in(place);
      all.insert(all.end(), names.begin(), names.end());
    }
  }
  all.push_back(M("%zu calls", calls_of("send_logmsg").size()));
  all.push_back(without_time(content(slot_of(mac_of(7)))));
  return all;
}

void expect_no_torn_command(const std::string& what) {
  if (!exists("/database/ap/command")) {
    return;
  }
  for (const std::string& name : names_in("/database/ap/command")) {
    const std::string text = content("/database/ap/command/" + name);
    EXPECT_TRUE(name.starts_with('.') || (text.starts_with("[command]\n") && text.ends_with('\n') &&
                                          text.find("\ntime=") != std::string::npos))
        << what << ": " << name << ": " << text;
  }
}

/// The lines at priority err and warning since the last call.
Lines complaints() {
  static int number = 0;
  const std::string mark = M("weather mark %d", ++number);
  syslog(LOG_DEBUG, "%s", mark.c_str());
  EXPECT_TRUE(
      eventually([&] { return content("/recorded/syslog").find(mark) != std::string::npos; }));
  Lines lines;
  for (const std::string& line : lines_of(content("/recorded/syslog"))) {
    if (const int priority = std::atoi(line.c_str() + 1) % 8;
        priority == LOG_ERR || priority == LOG_WARNING) {
      lines.push_back(line);
    }
  }
  fs::resize_file("/recorded/syslog", 0);
  return lines;
}

/// The kind of a complaint, as far as the words tell it; itself for words that are not known.
std::string kind_of(const std::string& complaint) {
  static const std::regex kKnown(
      "cannot be reached|connection was lost|statement was refused|command lost|"
      "cannot be started|could not be run|lock cannot be made|the file cannot be made|cannot be removed|cannot be looked at|not told|"
      "cannot be read|is larger than|not loaded");
  std::smatch found;
  return std::regex_search(complaint, found, kKnown) ? found[0].str() : complaint;
}

/// One kind at a time.
void expect_one_of_each(const Lines& lines, const std::string& what) {
  std::set<std::string> kinds;
  for (const std::string& line : lines) {
    EXPECT_TRUE(kinds.insert(kind_of(line)).second) << what << ": twice: " << line;
  }
}

/// The three events on AP 7, with AP 8 in hearing.
class Weather : public HookTest {
 protected:
  void SetUp() override {
    // strace and the leak checker cannot both trace a process.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    HookTest::SetUp();
  }

  /// The state before an event.
  static void prepare(Kind kind) {
    kit::Database().clear();
    for (const char* place : {"/var/log/notice", "/database/ap/support", "/database/ap/command"}) {
      for (const std::string& name : names_in(place)) {
        fs::remove(std::string(place) + "/" + name);
      }
    }
    fs::remove("/var/log/ap-run/controller.log");
    fs::remove("/recorded/send_logmsg");
    sql("SET GLOBAL innodb_flush_log_at_trx_commit=1");  // a server that is killed loses no row
    sql("INSERT INTO AP_INFO.ap_profile VALUES (1, 'Office')");
    register_ap(8, mac_of(8), "Hall");
    sql("INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac, essid) VALUES (8,0,'0A:00:00:00:00:08',"
        "'Office')");
    if (kind != Kind::join) {
      register_ap(7, mac_of(7), "Lobby");
    }
    if (kind == Kind::leave) {
      sql("INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac) VALUES (7,0,'0A:00:00:00:00:07'), "
          "(8,7,'0A:00:00:00:00:08')");
      sql("INSERT INTO AP_CLIENT.illegal (ap_sn, mac) VALUES ('7', 'A'), ('8,7', 'B')");
    }
    lay_out_files();
    complaints();
  }

  struct Outcome {
    Lines rows;
    Lines outside;
  };

  /// What an undisturbed event does.
  static const Outcome& undisturbed(Kind kind) {
    static std::map<Kind, Outcome> known;
    if (!known.contains(kind)) {
      prepare(kind);
      EXPECT_EQ(start_hook(words_of(kind, 7)).finish().status, 0);
      known[kind] = {result(), outside()};
      EXPECT_EQ(complaints(), Lines{}) << name_of(kind);
    }
    return known[kind];
  }

  /// Looks at what a disturbed event has left. Whoever lost something has said so.
  static void judge(Kind kind, Figures& line, const std::string& what, bool is_killed) {
    const Outcome& expected = undisturbed(kind);
    const bool is_lost = result() != expected.rows || outside() != expected.outside;
    const Lines told = complaints();
    line.lost += is_lost ? 1 : 0;
    line.lines += static_cast<int>(told.size());
    EXPECT_TRUE(is_killed || !is_lost || !told.empty())
        << what << ": lost in silence: " << testing::PrintToString(expected.outside) << "\n"
        << testing::PrintToString(result()) << testing::PrintToString(outside());
    expect_one_of_each(told, what);
    expect_no_torn_command(what);
  }

  /// The next event of its kind, undisturbed, does what the disturbed one has not.
  static void expect_mended(Kind kind, const std::string& what) {
    lay_out_files();
    EXPECT_EQ(start_hook(words_of(kind, 7)).finish().status, 0) << what;
    EXPECT_EQ(result(), undisturbed(kind).rows) << what;
    if (kind == Kind::report) {
      EXPECT_EQ(without_time(content(slot_of(mac_of(7)))), undisturbed(kind).outside.back());
    }
    expect_no_torn_command(what);
    complaints();
  }
};

// ---- System calls ---------------------------------------------------------------------------------

/// One system call of a program: the `number`th of its name, from 1.
struct Call {
  std::string name;
  int number;
  bool is_always_tried;  // whatever the extent
};

/// Starts a hook under strace with these options and waits for it.
kit::Usage trace(Kind kind, const Words& options) {
  Words words{"strace"};
  words.insert(words.end(), options.begin(), options.end());
  const Words hook = words_of(kind, 7);
  words.insert(words.end(), hook.begin(), hook.end());
  return kit::run(words);
}

/// What the program itself calls, from the first thing that it does on.
std::vector<Call> calls_of_hook(Kind kind) {
  const std::string log = "/tmp/weather.strace";
  EXPECT_EQ(trace(kind, {"-o", log, "-y"}).status, 0);
  wait_for_helpers();  // what they record late would count as the next event's
  std::map<std::string, int> seen;
  std::vector<Call> calls;
  bool is_ours = false;
  for (const std::string& line : lines_of(content(log))) {
    const std::string name = line.substr(0, line.find('('));
    const int number = ++seen[name];
    is_ours =
        is_ours || (line.starts_with("fcntl(0") && line.find(", F_GETFD)") != std::string::npos);
    // The sanitizers try addresses by writing them into a pipe; nothing else here uses one.
    const bool is_pipe = line.find("<pipe:") != std::string::npos;
    if (is_ours && !is_pipe && name.find(' ') == std::string::npos && name != "exit_group") {
      // To iniparser, a read error is the end of what it parses.
      const bool is_parsed = name == "read" && line.find("memfd") != std::string::npos;
      calls.push_back({name, number, is_parsed});
    }
  }
  return calls;
}

/// Calls of the memory allocator, the sanitizers and signal handlers, which end a process when they fail.
bool belongs_to_runtime(const std::string& name) {
  static const std::set<std::string> kNames{
      "mmap",        "munmap",  "mprotect", "mremap", "madvise", "brk",         "futex",
      "sched_yield", "sysinfo", "getpid",   "gettid", "prctl",   "sigaltstack", "rt_sigreturn"};
  return kNames.contains(name);
}

class SystemCalls : public Weather, public testing::WithParamInterface<Kind> {};

TEST_P(SystemCalls, KilledAndFailingInTurn) {
  NEEDS_NAMESPACES("strace and proot cannot both trace a process");
  const Kind kind = GetParam();
  undisturbed(kind);
  prepare(kind);
  const std::vector<Call> calls = calls_of_hook(kind);
  ASSERT_GT(calls.size(), 50U);
  const std::size_t stride = is_whole() ? 1 : calls.size() / 9;
  Figures& line = figures(M("%s, system calls", name_of(kind)));
  for (const std::string fault : {"signal=KILL", "error=EIO", "error=EINTR"}) {
    const bool is_kill = fault.starts_with("signal");
    if (fault == "error=EINTR" && !is_whole()) {
      continue;
    }
    for (std::size_t i = 0; i < calls.size(); ++i) {
      const Call& call = calls[i];
      if ((i % stride != 0 && !call.is_always_tried) ||
          (!is_kill && belongs_to_runtime(call.name))) {
        continue;
      }
      prepare(kind);
      const std::string inject = M("%s:%s:when=%d", call.name.c_str(), fault.c_str(), call.number);
      const std::string what = std::string(name_of(kind)) + " with " + inject;
      const kit::Usage usage =
          trace(kind, {"-o", "/dev/null", "-e", "trace=" + call.name, "-e", "inject=" + inject});
      line.note(usage);
      // How often a hook polls differs from run to run, so the call to kill it at may not come.
      const bool is_killed = is_kill && usage.status == 128 + SIGKILL;
      EXPECT_TRUE(is_killed || usage.status == 0) << what << ": " << usage.status;
      (is_kill ? line.kills : line.failures) += is_killed || !is_kill ? 1 : 0;
      judge(kind, line, what, is_kill);
      expect_mended(kind, what);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, SystemCalls, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return name_of(kind.param); });

// ---- States of the server, and places -------------------------------------------------------------

int shell(const std::string& line) {
  return std::system(line.c_str());
}

pid_t server_process() {
  return std::atoi(content("/run/mysqld/mysqld.pid").c_str());
}

/// Waits until a statement of a hook sleeps in the trigger of `slow_registry`.
void wait_for_sleeper() {
  EXPECT_TRUE(eventually([] {
    return sql_value(
               "SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE STATE='User sleep'") !=
           "0";
  }));
}

void slow_registry() {
  for (const char* event : {"INSERT", "UPDATE"}) {
    sql(M("CREATE TRIGGER AP_INFO.slow_%s BEFORE %s ON AP_INFO.ap_list FOR EACH ROW DO SLEEP(0.5)",
          event, event));
  }
}

void quick_registry() {
  sql("DROP TRIGGER IF EXISTS AP_INFO.slow_INSERT");
  sql("DROP TRIGGER IF EXISTS AP_INFO.slow_UPDATE");
}

void start_again() {
  disconnect_database();
  shell("rm -f /run/mysqld/mysqld.pid; lab-db-start");
}

/// The hooks as a user who may not write on a read-only server, with this password.
void log_in_with(const std::string& password) {
  sql("CREATE OR REPLACE USER hook@localhost IDENTIFIED BY 'secret'");
  sql("GRANT SELECT, INSERT, UPDATE, DELETE, CREATE, DROP ON *.* TO hook@localhost");
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=hook\npassword=" + password + "\n");
}

void log_in_as_root() {
  fs::remove("/etc/ap-run/database.cnf");
}

std::optional<FalseServer> false_server;
std::vector<kit::Database> others;

/// Takes all connections of the server.
void fill_server() {
  sql("FLUSH STATUS");
  for (int i = 0; i < 10; ++i) {
    others.emplace_back();
  }
  sql("SET GLOBAL max_connections=10");
  EXPECT_TRUE(
      eventually([] { return sql("SHOW GLOBAL STATUS LIKE 'Threads_connected'")[0][1] == "11"; }));
}

void free_server() {
  others.clear();
  sql("SET GLOBAL max_connections=DEFAULT");
}

const std::string kDamaged = "/var/lib/mysql/AP_CLIENT/legal.ibd";

/// Writes over the rows and keys of a table's file, while the server does not run.
void damage_table() {
  shell("lab-db-stop");
  fs::copy_file(kDamaged, "/tmp/sound");
  shell("dd if=/dev/urandom conv=notrunc bs=16384 seek=3 count=4 status=none of=" + kDamaged);
  start_again();
}

void put_table_back() {
  shell("lab-db-stop");
  fs::copy_file("/tmp/sound", kDamaged, fs::copy_options::overwrite_existing);
  fs::remove("/tmp/sound");
  start_again();
}

/// Whether a state costs an event anything.
enum class Harm { none, some };

struct State {
  const char* name;
  double limit;  // seconds that an event may take
  bool is_quick;
  std::function<void()> begin;   // before the event
  std::function<void()> within;  // while the event runs; may be null
  std::function<void()> end;
  Harm harm = Harm::some;
  const char* needs_namespaces = nullptr;  // why, if it does
};

constexpr const char* kStop = "proot lets a stopped process run on";
constexpr const char* kMount = "nothing can be mounted";

const State kStates[] = {
    {"absent", 5, true, [] { shell("lab-db-stop"); }, nullptr, start_again},
    {"nobody listening", 5, true, [] { kill(server_process(), SIGKILL); }, nullptr, start_again},
    {"silent", 6, false, [] { kill(server_process(), SIGSTOP); }, nullptr,
     [] { kill(server_process(), SIGCONT); }, Harm::some, kStop},
    {"frozen within", 22, false, slow_registry,
     [] {
       wait_for_sleeper();
       kill(server_process(), SIGSTOP);
     },
     [] {
       kill(server_process(), SIGCONT);
       quick_registry();
     },
     Harm::some, kStop},
    {"killed within", 8, true, slow_registry,
     [] {
       wait_for_sleeper();
       kill(server_process(), SIGKILL);
     },
     [] {
       start_again();
       quick_registry();
     }},
    {"trickling", 22, false,
     [] {
       false_server.emplace(4003, answer_slowly);
       write_file("/etc/ap-run/database.cnf",
                  "[client]\nprotocol=tcp\nhost=127.0.0.1\nport=4003\n");
     },
     nullptr,
     [] {
       log_in_as_root();
       false_server.reset();
     }},
    {"full", 12, false, fill_server, nullptr, free_server},
    {"full, then free", 12, true, fill_server,
     [] {
       EXPECT_TRUE(eventually([] {
         return sql("SHOW GLOBAL STATUS LIKE 'Connection_errors_max_connections'")[0][1] != "0";
       }));
       free_server();
     },
     [] {}, Harm::none},
    {"table locked", 22, false, [] { sql("LOCK TABLES AP_INFO.ap_list WRITE"); }, nullptr,
     [] { sql("UNLOCK TABLES"); }},
    {"read-only", 5, true,
     [] {
       log_in_with("secret");
       sql("SET GLOBAL read_only=1");
     },
     nullptr,
     [] {
       log_in_as_root();
       sql("SET GLOBAL read_only=0");
     }},
    {"wrong password", 5, true, [] { log_in_with("wrong"); }, nullptr, log_in_as_root},
    {"registry missing", 5, true, [] { sql("RENAME TABLE AP_INFO.ap_list TO AP_INFO.gone"); },
     nullptr, [] { sql("RENAME TABLE AP_INFO.gone TO AP_INFO.ap_list"); }},
    {"legal missing", 5, true, [] { sql("RENAME TABLE AP_CLIENT.legal TO AP_CLIENT.gone"); },
     nullptr, [] { sql("RENAME TABLE AP_CLIENT.gone TO AP_CLIENT.legal"); }},
    {"table damaged", 5, true, damage_table, nullptr, put_table_back},
    {"column missing", 5, true,
     [] { sql("ALTER TABLE AP_INFO.ap_list RENAME COLUMN Status TO gone"); }, nullptr,
     [] { sql("ALTER TABLE AP_INFO.ap_list RENAME COLUMN gone TO Status"); }},
    {"disk full", 25, false,
     [] {
       sql("FLUSH TABLES");
       shell("mount -o remount,size=$(du -sk /var/lib/mysql | cut -f1)k /var/lib/mysql");
     },
     nullptr, [] { shell("mount -o remount,size=1g /var/lib/mysql"); }, Harm::some, kMount},
    {"/dev/null missing", 5, true,
     [] { shell("touch /tmp/null; mount --move /dev/null /tmp/null; rm /dev/null"); }, nullptr,
     [] { shell("touch /dev/null; mount --move /tmp/null /dev/null"); }, Harm::some, kMount},
    {"/var/log missing", 5, true, [] { fs::rename("/var/log", "/var/gone"); }, nullptr,
     [] { fs::rename("/var/gone", "/var/log"); }},
    {"/database/ap/command missing", 5, true,
     [] { fs::rename("/database/ap/command", "/database/ap/gone"); }, nullptr,
     [] { fs::rename("/database/ap/gone", "/database/ap/command"); }}};

/// Starts an event in a state. Its standard input is not /dev/null, which may be missing.
kit::Child start_in_state(Kind kind) {
  static const int input = open(kPath.c_str(), O_RDONLY | O_CLOEXEC);
  return kit::Child({"/usr/sbin/ap-run", words_of(kind, 7), {}, input});
}

void PrintTo(const State& state, std::ostream* stream) {
  *stream << state.name;
}

class States : public Weather, public testing::WithParamInterface<State> {};

TEST_P(States, LoseNothingInSilence) {
  const State& state = GetParam();
  if (state.needs_namespaces != nullptr) {
    NEEDS_NAMESPACES(<< state.needs_namespaces);
  }
  if (!state.is_quick && !is_whole()) {
    GTEST_SKIP() << "takes longer; ./check --weather tries it";
  }
  Figures& line = figures(state.name);
  for (const Kind kind : kKinds) {
    undisturbed(kind);
    prepare(kind);
    const std::string what = std::string(name_of(kind)) + ", " + state.name;
    state.begin();
    kit::Child hook = start_in_state(kind);
    if (state.within) {
      state.within();
    }
    const kit::Usage usage = hook.finish();
    EXPECT_EQ(usage.status, 0) << what;
    EXPECT_LT(usage.wall_ms / 1000.0, state.limit) << what;
    line.note(usage);
    state.end();
    judge(kind, line, what, false);
    expect_mended(kind, what);
  }
  EXPECT_EQ(line.lost > 0, state.harm == Harm::some);
}

INSTANTIATE_TEST_SUITE_P(All, States, testing::ValuesIn(kStates), [](const auto& state) {
  return std::regex_replace(std::string(state.param.name), std::regex("[^a-z]+"), "_");
});

// ---- Many at once ---------------------------------------------------------------------------------

/// How many at once.
int crowd() {
  return is_whole() ? 64 : 32;
}

/// The result with the hearers of a foreign radio in order: who came first does not matter.
Lines result_of_crowd() {
  Lines rows = result();
  for (std::string& row : rows) {
    if (row.starts_with("illegal|")) {
      std::set<std::string> hearers;
      const std::size_t end = row.find('|', 8);
      for (std::size_t at = 8; at < end; at = std::min(end, row.find(',', at)) + 1) {
        hearers.insert(row.substr(at, std::min(end, row.find(',', at)) - at));
      }
      row = testing::PrintToString(hearers) + row.substr(end);
    }
  }
  return rows;
}

/// Starts an event; a report comes with this text.
kit::Child start_event(Kind kind, int ap, const std::string& text) {
  Words words = words_of(kind, ap);
  if (kind == Kind::report) {
    words[2] = M("/database/ap/reports/%d.ini", ap);
    write_file(words[2], text);
  }
  fs::remove(slot_of(mac_of(ap)));
  return start_hook(words);
}

/// A round: every AP does the same, all at once or one by one.
void play_round(Kind kind, bool at_once, Figures& line) {
  std::vector<kit::Child> hooks;
  for (int ap = 1; ap <= crowd(); ++ap) {
    hooks.push_back(start_event(kind, ap, report_text(ap)));
    if (!at_once) {
      EXPECT_EQ(hooks.back().finish().status, 0);
    }
  }
  for (kit::Child& hook : hooks) {
    if (at_once) {
      const kit::Usage usage = hook.finish();
      EXPECT_EQ(usage.status, 0);
      line.note(usage);
    }
  }
}

TEST_F(Weather, ManyAtOnceAsOneByOne) {
  sql("INSERT INTO AP_INFO.ap_profile VALUES (1, 'Office')");
  for (int ap = 1; ap <= crowd(); ++ap) {
    register_ap(ap, mac_of(ap), M("AP %d", ap));
  }
  Figures& line = figures(M("%d at once", crowd()));
  const auto reported = [&](bool at_once) {
    play_round(Kind::report, at_once, line);
    play_round(Kind::report, at_once, line);  // now every AP's radios are known
    return result_of_crowd();
  };
  const Lines expected = reported(false);
  const int rounds = is_whole() ? 20 : 1;
  for (int round = 0; round < rounds; ++round) {
    if (is_whole()) {
      sql("UPDATE AP_INFO.ap_list SET STime=NOW() - INTERVAL 1000 SECOND");
      play_round(Kind::leave, true, line);
      play_round(Kind::join, true, line);
    }
    EXPECT_EQ(reported(true), expected) << "round " << round;
    line.lines += static_cast<int>(complaints().size());
  }
  EXPECT_EQ(line.lines, 0);
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
}

/// A report with eight radios, and as many of another AP that it hears.
std::string report_on_neighbour(int ap, int other) {
  std::string text = M("[00]\nMAC=%s\nversion=2.1.0\n", mac_of(ap).c_str());
  for (int i = 1; i <= 8; ++i) {
    text += M("[%02d]\nAddress=0a:00:00:00:%02x:%02x\nESSID=Office\n", i, ap, i) +
            M("[Cell %02d]\nAddress=0a:00:00:00:%02x:%02x\nESSID=Office\n", i, other, i);
  }
  return text;
}

TEST_F(Weather, NeighboursThatReportAtOnceStayManaged) {
  prepare(Kind::report);  // registers the APs 7 and 8
  Figures& line = figures("two that hear each other, at once");
  const auto start = [](int ap) {
    return start_event(Kind::report, ap, report_on_neighbour(ap, ap == 7 ? 8 : 7));
  };
  for (const int ap : {7, 8, 7}) {
    EXPECT_EQ(start(ap).finish().status, 0);
  }
  const int pairs = is_whole() ? 300 : 15;
  for (int pair = 0; pair < pairs; ++pair) {
    kit::Child hooks[] = {start(7), start(8)};
    for (kit::Child& hook : hooks) {
      const kit::Usage usage = hook.finish();
      EXPECT_EQ(usage.status, 0);
      line.note(usage);
    }
    line.lost += sql_rows("SELECT mac FROM AP_CLIENT.illegal").empty() ? 0 : 1;
    sql("DELETE FROM AP_CLIENT.illegal");
  }
  EXPECT_EQ(line.lost, 0) << "pairs with a managed radio among the foreign ones";
  EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_CLIENT.legal"), "32");
}

/// How long all take to report three times with 300 more foreign radios, in seconds.
double crowd_with_radios(bool are_shared) {
  kit::Database().clear();
  Figures& line =
      figures(M("%d at once, %s foreign radios", crowd(), are_shared ? "the same" : "different"));
  const kit::Stopwatch watch;
  for (int round = 0; round < 3; ++round) {
    std::vector<kit::Child> hooks;
    for (int ap = 1; ap <= crowd(); ++ap) {
      std::string text = report_text(ap);
      for (int i = 0; i < 300; ++i) {
        text += M("[Cell %02d]\nAddress=0c:00:01:%02x:%02x:%02x\nESSID=foreign\n", i + 4,
                  are_shared ? 0 : ap, i / 256, i % 256);
      }
      hooks.push_back(start_event(Kind::report, ap, text));
    }
    for (kit::Child& hook : hooks) {
      const kit::Usage usage = hook.finish();
      EXPECT_EQ(usage.status, 0);
      line.note(usage);
    }
  }
  const Lines told = complaints();
  EXPECT_EQ(told, Lines{});
  line.lines = static_cast<int>(told.size());
  return watch.ms() / 1000.0;
}

TEST_F(Weather, SharedRadiosTakeAtMostTwiceAsLong) {
  if (!is_whole()) {
    GTEST_SKIP() << "takes longer; ./check --weather tries it";
  }
  std::vector<double> ratios;
  for (int pair = 0; pair < 3; ++pair) {  // another load of the machine in between spoils one
    const double different = crowd_with_radios(false);
    const double shared = crowd_with_radios(true);
    std::printf("the same foreign radios: %.1f s, different ones: %.1f s\n", shared, different);
    ratios.push_back(shared / different);
  }
  EXPECT_EQ(sql_value(M("SELECT COUNT(*) FROM AP_CLIENT.illegal i WHERE %d = (SELECT COUNT(*) FROM "
                        "AP_INFO.ap_list WHERE FIND_IN_SET(SN, i.ap_sn)) AND %d = "
                        "LENGTH(ap_sn) - LENGTH(REPLACE(ap_sn, ',', ''))",
                        crowd(), crowd() - 1)),
            "302")
      << "radios whose list names every AP once";
  std::sort(ratios.begin(), ratios.end());
  EXPECT_LT(ratios[1], 2);
}

std::string numbered(int count, const std::function<std::string(int)>& section) {
  std::string text = M("[00]\nMAC=%s\nversion=2.1.0\n", mac_of(7).c_str());
  for (int i = 1; i <= count; ++i) {
    text += section(i);
  }
  return text;
}

TEST_F(Weather, HostileReportsTakeNotLong) {
  if (!is_whole()) {
    GTEST_SKIP() << "takes longer; ./check --weather tries it";
  }
  constexpr double kLimit = 20;  // 2 for the release on an idle machine
  const std::pair<const char*, std::string> reports[] = {
      {"25,000 cells", numbered(25'000,
                                [](int i) {
                                  return M("[Cell %02d]\nAddress=0c:00:00:00:%02x:%02x\n", i,
                                           i / 256, i % 256);
                                })},
      {"22,000 poor clients", numbered(22'000,
                                       [](int i) {
                                         return M("[POOR_CLIENT %02d]\nADDR=%02x:%02x\n", i,
                                                  i / 256, i % 256);
                                       })},
      {"65,000 keys in a section", numbered(65'000, [](int i) { return M("k%d=\n", i); })}};
  for (const auto& [name, text] : reports) {
    prepare(Kind::report);
    sql("INSERT INTO AP_INFO.ap_profile VALUES (2, '2'), (3, '3'), (4, '4'), (5, '5'), (6, '6'), "
        "(7, '7'), (8, '8')");
    sql("UPDATE AP_INFO.ap_list SET pf_id='1,2,3,4,5,6,7,8'");
    const kit::Usage usage = start_event(Kind::report, 7, text).finish();
    EXPECT_EQ(usage.status, 0) << name;
    EXPECT_LT(usage.wall_ms / 1000.0, kLimit) << name;
    EXPECT_EQ(sql_value("SELECT fw_version FROM AP_INFO.ap_list WHERE SN=7"), "2.1.0") << name;
    Figures& line = figures(name);
    line.note(usage);
    line.lines = static_cast<int>(complaints().size());
  }
}

}  // namespace
