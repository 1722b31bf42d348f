#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include "support/appliance.h"
#include "support/false_server.h"

// Something takes the place of a database server and is slow or silent: a hook gives up in time.

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

class Deadline : public HookTest {
 protected:
  struct Hook {
    const char* weather;
    kit::Child process;
    seconds limit;
  };

  /// Starts a hook with these options, which it has read when `has_read` holds.
  void start(const char* weather, const std::string& options, seconds limit,
             const std::function<bool()>& has_read) {
    write_file("/etc/ap-run/database.cnf", "[client]\nprotocol=tcp\nuser=root\n" + options);
    hooks_.push_back({weather, start_hook({"ap-command", "10", "-", kMac}), limit});
    EXPECT_TRUE(eventually(has_read)) << weather;
  }

  std::vector<Hook> hooks_;
};

TEST_F(Deadline, IsKeptWhateverArrives) {
  const FalseServer slow_greeting(4001, greet_slowly);
  const FalseServer stalling(4002, stall_in_tls);
  const FalseServer slow_answers(4003, answer_slowly);
  const int full = bound(SOCK_STREAM, 4004);
  EXPECT_EQ(listen(full, 0), 0);
  std::vector<int> queued;
  for (int i = 0; i < 3; ++i) {  // the first few fill the queue; nobody accepts
    queued.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = local(4004);
    (void)connect(queued.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  const int silent_name_server = bound(SOCK_DGRAM, 53);  // where no /etc/resolv.conf says otherwise
  const std::string name_services = content("/etc/nsswitch.conf");
  write_file("/etc/nsswitch.conf", "hosts: files dns\n");

  const auto begin = steady_clock::now();
  start("a byte of the greeting per half second", "host=127.0.0.1\nport=4001\n", seconds(3),
        [&] { return slow_greeting.is_reached(); });
  start("TLS that is not taken up", "host=127.0.0.1\nport=4002\nssl\n", seconds(3),
        [&] { return stalling.is_reached(); });
  start("a byte of an answer per second", "host=127.0.0.1\nport=4003\n", seconds(10),
        [&] { return slow_answers.is_reached(); });
  // Of the other two no one hears; should one read the options of the other, it waits as long.
  const auto a_moment = [] {
    std::this_thread::sleep_for(milliseconds(300));
    return true;
  };
  start("a full backlog", "host=127.0.0.1\nport=4004\n", seconds(3), a_moment);
  if (silent_name_server >= 0) {
    start("a silent name server", "host=db.example.org\nport=4005\n", seconds(3), a_moment);
  }
  for (const seconds limit : {seconds(3), seconds(10)}) {
    for (Hook& hook : hooks_) {
      if (hook.limit == limit) {
        EXPECT_EQ(hook.process.finish().status, 0) << hook.weather;
        const auto waited = steady_clock::now() - begin;
        EXPECT_LT(waited, limit + seconds(3)) << hook.weather;
        EXPECT_GT(waited, limit - seconds(1)) << hook.weather;
      }
    }
  }
  write_file("/etc/nsswitch.conf", name_services);
  close(silent_name_server);
  close(full);
  for (const int socket : queued) {
    close(socket);
  }
  if (silent_name_server < 0) {
    NEEDS_NAMESPACES("port 53 is not ours, so all but the silent name server was tried");
    FAIL() << "port 53 is taken";
  }
}

/// Hooks whose option file names several servers.
class HostList : public HookTest {
 protected:
  HostList() : silent_(bound(SOCK_STREAM, 4002)) {
    listen(silent_, 1);
    disconnect_database();
    EXPECT_EQ(system("lab-db-stop && lab-db-start --skip-networking=0 --bind-address=127.0.0.1 "
                     "--port=4004 && cp -a /host/database /tmp/second"),
              0);
    second_.emplace(kit::Program{
        "mariadbd",
        {"mariadbd", "--defaults-file=/source/lab/database.cnf", "--datadir=/tmp/second",
         "--socket=/tmp/second.socket", "--pid-file=/tmp/second.pid", "--skip-networking=0",
         "--bind-address=127.0.0.1", "--port=4003", "--read-only", "--skip-grant-tables",
         "--log-error=/tmp/second.log", "--binlog-format=ROW", "--wsrep-on=ON",
         "--wsrep-provider=/usr/lib/galera/libgalera_smm.so", "--wsrep-cluster-address=gcomm://"},
        {}});
    sql("CREATE OR REPLACE USER hook@'%' IDENTIFIED BY 'hook'");
    sql("GRANT ALL ON *.* TO hook@'%'");
    EXPECT_TRUE(eventually([] { return exists("/tmp/second.socket") && at_second("DO 1"); }));
  }
  ~HostList() override {
    sql("DROP USER hook@'%'");
    disconnect_database();
    EXPECT_EQ(system("lab-db-stop && lab-db-start"), 0);
    kill(second_->id(), SIGKILL);
    second_->finish();
    std::filesystem::remove_all("/tmp/second");
    close(silent_);
  }

  /// Whether the second server, which is a group of its own, runs these statements.
  static bool at_second(const std::string& statements) {
    return kit::run({"mariadb", "--socket=/tmp/second.socket", "-e", statements}).status == 0;
  }

  static void name_servers(const std::string& list) {
    write_file("/etc/ap-run/database.cnf",
               "[client]\nprotocol=tcp\nuser=hook\npassword=hook\nhost = " + list + "\n");
  }

  /// Whether a hook with this list registers a new AP, and after how many seconds it ends.
  static std::pair<bool, double> registers(const std::string& list) {
    sql("DELETE FROM AP_INFO.ap_list");
    std::filesystem::remove(slot_of(kMac));
    name_servers(list);
    const kit::Stopwatch watch;
    EXPECT_EQ(run_hook({"ap-command", "1", deliver_report("[00]\n"), kAddress, kMac}), 0);
    return {sql_value("SELECT COUNT(*) FROM AP_INFO.ap_list") == "1", watch.ms() / 1000};
  }

  int silent_;
  std::optional<kit::Child> second_;
};

TEST_F(HostList, LeadsToTheFirstServerThatIsReady) {
  const std::string closed = "127.0.0.1:4001";
  const std::string silent = "127.0.0.1:4002";
  const std::string read_only = "127.0.0.1:4003";
  const std::string& minority = read_only;
  const std::string good = "127.0.0.1:4004";
  const auto expect = [&](const std::string& list, bool is_registered, double from, double to) {
    const auto [registered, time] = registers(list);
    EXPECT_EQ(registered, is_registered) << list << "\n" << content("/recorded/syslog");
    EXPECT_GE(time, from) << list;
    EXPECT_LT(time, to) << list;
  };
  // Waiting for the silent one would take 1.5 seconds.
  expect(good + "," + silent, true, 0, 1.4);
  expect(closed + ", " + read_only + "," + good, true, 0, 1.4);
  // A share of the 3 seconds each, and a tick of the clock that watches them.
  expect(closed + "," + silent + "," + read_only + "," + good, true, 0.9, 2);
  expect(silent + "," + silent + "," + silent + "," + good, true, 2.2, 3.5);
  EXPECT_EQ(content("/recorded/syslog"), "");
  expect(closed + "," + read_only, false, 0, 0.7);
  EXPECT_NE(content("/recorded/syslog").find("(1290: The server 127.0.0.1 is read-only)"),
            std::string::npos)
      << content("/recorded/syslog");

  // As a node that has lost the others: it lets clients in, and answers SELECT 1, but no table.
  const std::string leave = "SET GLOBAL wsrep_reject_queries=ALL";
  EXPECT_TRUE(at_second("SET GLOBAL read_only=OFF; " + leave));
  expect(minority + "," + good, true, 0, 0.7);
  expect(closed + "," + minority, false, 0, 0.7);
  EXPECT_NE(content("/recorded/syslog").find("cannot be reached (1047: "), std::string::npos);
  // It leaves while a hook waits for one of its tables: what comes next is stored on the next server.
  const std::string known = "REPLACE INTO AP_INFO.ap_list SET SN=7, Status=1, MAC='" + kMac + "'";
  sql(known);
  EXPECT_TRUE(at_second("SET GLOBAL wsrep_reject_queries=NONE; " + known));
  std::thread leaving(at_second, "LOCK TABLES AP_CLIENT.legal WRITE; DO SLEEP(1); " + leave);
  std::this_thread::sleep_for(milliseconds(500));
  name_servers(minority + "," + good);
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report("[00]\n"), kAddress, kMac}), 0);
  leaving.join();
  EXPECT_NE(content("/recorded/syslog").find("refused (1047: "), std::string::npos);
  EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_CLIENT.AP_007"), "0") << "the table has been made";
  EXPECT_TRUE(at_second("SET GLOBAL read_only=ON, GLOBAL wsrep_reject_queries=NONE"));

  NEEDS_NAMESPACES("proot lets a stopped process run on");
  kill(second_->id(), SIGSTOP);
  expect(read_only + ",[::1]:4004," + good, true, 0.9, 2);
  expect(silent + "," + read_only, false, 2.9, 4);
  kill(second_->id(), SIGCONT);
}

}  // namespace
