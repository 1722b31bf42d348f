#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <regex>

#include "support/appliance.h"

namespace {

class Entry : public HookTest {};
class Trace : public HookTest {};

Lines argument_lines(const std::string& name, const Words& arguments) {
  Lines lines;
  for (const std::string& argument : arguments) {
    lines.push_back(name + ": @@ " + name + " => [0" + std::to_string(lines.size()) +
                    "]:" + argument);
  }
  return lines;
}

TEST_F(Entry, EachNameHasItsHandlerAndItsKey) {
  trace_on(kMac);
  EXPECT_EQ(run_hook({"/usr/sbin/ap-history", "event", kMac, "more"}), 0);
  EXPECT_EQ(run_hook({"./ap-command", "0", kMac}), 0);
  Lines expected = argument_lines("history", {"event", kMac, "more"});
  const Lines dispatched = argument_lines("command", {"0", kMac});
  expected.insert(expected.end(), dispatched.begin(), dispatched.end());
  EXPECT_EQ(trace_of(kMac), expected);

  EXPECT_EQ(run_hook({"ap-up", kAddress, kMac, "more"}), 0);
  EXPECT_EQ(trace_of(kMac, "up"),
            (Lines{"@@ up => [00]:" + kAddress, "@@ up => [01]:" + kMac, "@@ up => [02]:more"}));
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  EXPECT_EQ(trace_of(kMac, "down"), (Lines{"@@ down => [00]:" + kMac}));
}

TEST_F(Entry, OtherNamesAndMissingArgumentsDoNothing) {
  trace_on(kMac);
  for (const char* name : {"AP-DOWN", "ap-run", "", "ap-up/", "ap-downwards", "xap-up",
                           "a-name-that-is-longer-than-thirty-one-characters"}) {
    EXPECT_EQ(run_hook({name, kMac, kMac}), 0) << name;
  }
  for (const char* name : {"ap-up", "ap-down", "ap-history", "ap-command"}) {
    EXPECT_EQ(run_hook({name}), 0) << name;
  }
  EXPECT_EQ(trace_of(kMac), Lines{});
  EXPECT_EQ(content("/recorded/syslog"), "");
}

TEST_F(Entry, AMacThatIsNoneEndsAfterTheTraceLines) {
  write_file("/database/ap/precious", "");
  for (const char* bad : {"../precious", "../../ap/precious", "", "00:11:22:33:44"}) {
    EXPECT_EQ(run_hook({"ap-up", kAddress, bad}), 0);
    EXPECT_EQ(run_hook({"ap-down", bad}), 0);
    EXPECT_EQ(run_hook({"ap-command", "2", bad}), 0);
    EXPECT_EQ(run_hook({"ap-command", "5", "127.0.0.1", bad}), 0);
    EXPECT_EQ(run_hook({"ap-command", "1", "/nowhere", kAddress, bad}), 0);
  }
  EXPECT_EQ(run_hook({"ap-up", kAddress}), 0);
  EXPECT_EQ(run_hook({"ap-command", "1", "/nowhere"}), 0);
  EXPECT_TRUE(exists("/database/ap/precious"));
  EXPECT_EQ(names_in("/database/ap/command"), Lines{});
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
}

TEST_F(Entry, AJoinRemovesWhatDeadWritersHaveLeft) {
  const std::string commands = "/database/ap/command/";
  const std::string alive = "." + std::to_string(getpid());
  for (const std::string& name : {std::string(".99999998"), std::string(".99999999"), alive}) {
    write_file(commands + name, "");
    set_age(commands + name, std::chrono::seconds(name == ".99999999" ? 0 : 90));
  }
  EXPECT_EQ(run_hook({"ap-up", kAddress, kMac}), 0);
  for (const std::string& name : {alive, std::string(".99999999")}) {
    EXPECT_TRUE(std::filesystem::remove(commands + name)) << name;
  }
  EXPECT_FALSE(exists(commands + ".99999998"));
}

TEST_F(Entry, JoiningAndLeavingLiftTheLock) {
  for (const Words& hook : {Words{"ap-up", kAddress, kMac}, Words{"ap-down", kMac}}) {
    write_file("/database/ap/lock/" + kMac, "");
    write_file("/database/ap/lock/" + kOtherMac, "");
    EXPECT_EQ(run_hook(hook), 0);
    EXPECT_EQ(names_in("/database/ap/lock"), Lines{kOtherMac}) << hook[0];
  }
}

TEST_F(Entry, WhatNeedsNoDatabaseOpensNoConnection) {
  write_file("/database/ap/lock/" + kMac, "");
  const std::string report = deliver_report("[00]\nMAC=" + kMac + "\n");
  const auto connections = [] { return sql("SHOW GLOBAL STATUS LIKE 'Connections'")[0][1]; };
  const std::string before = connections();
  EXPECT_EQ(run_hook({"ap-history", "event", kMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "4", kMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "11", kMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "5", "127.0.0.1", kOtherMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "1", report, kAddress, kMac}), 0) << "the lock is held";
  EXPECT_EQ(connections(), before);
  EXPECT_TRUE(exists(report));
}

TEST_F(Entry, InheritedSurprisesChangeNothing) {
  trace_on(kMac);
  register_ap(1, kMac, "Lobby");
  kit::Child child([] {
    signal(SIGCHLD, SIG_IGN);
    signal(SIGPIPE, SIG_DFL);
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    setenv("PATH", "/nowhere", 1);
    setenv("MARIADB_UNIX_PORT", "/nowhere", 1);
    setenv("IFS", "/", 1);
    setenv("LC_ALL", "tr_TR.UTF-8", 1);
    for (int standard = 0; standard < 3; ++standard) {
      close(standard);
    }
    return execl("/usr/sbin/ap-run", "ap-command", "2", kMac.c_str(), nullptr);
  });
  EXPECT_EQ(child.finish().status, 0);
  EXPECT_EQ(content(slot_of(kMac)), "[command]\ntype=2\n");
  EXPECT_EQ(sql_rows("SELECT action, Status FROM AP_INFO.ap_list"), Lines{"1|0"});
  ASSERT_TRUE(eventually([] { return calls_of("send_logmsg").size() == 1; }));
  EXPECT_EQ(lines_of(content("/recorded/send_logmsg.descriptors")), Lines{""})
      << "the helper was handed descriptors of ours";
}

TEST_F(Entry, ExportsTheDataObjects) {
  const std::string symbols =
      kit::output_of({"/usr/bin/nm", "-D", "--defined-only", "/usr/sbin/ap-run"}).text;
  for (const char* name :
       {"AP_INFO_TABLE", "CONNTRACK_LOG_TABLE", "entry_num", "icons_path", "html_fmt"}) {
    EXPECT_NE(symbols.find(std::string(" ") + name + "\n"), std::string::npos) << name;
  }
}

TEST_F(Trace, IsOffWithoutItsSwitches) {
  EXPECT_EQ(run_hook({"ap-history", "event", kMac}), 0);
  EXPECT_EQ(content("/recorded/syslog"), "");
  EXPECT_FALSE(exists("/database/ap/debug"));
}

TEST_F(Trace, GoesToTheSystemLogAndTheFileOfItsKey) {
  trace_on(kMac);
  EXPECT_EQ(run_hook({"ap-history", "one", kMac}), 0);
  EXPECT_EQ(run_hook({"ap-history", "two", kOtherMac}), 0);
  EXPECT_EQ(run_hook({"ap-history", "three"}), 0);

  static const std::regex kLine(
      "[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [1-9][0-9]*\\[history:[1-9][0-9]*\\] "
      "@@ history => \\[0[01]\\]:.*");
  const Lines lines = lines_of(content("/database/ap/debug/" + kMac));
  ASSERT_EQ(lines.size(), 2U);
  for (const std::string& line : lines) {
    EXPECT_TRUE(std::regex_match(line, kLine)) << line;
  }
  EXPECT_EQ(names_in("/database/ap/debug"), Lines{kMac}) << "no switch is made by the program";

  ASSERT_TRUE(eventually([] { return lines_of(content("/recorded/syslog")).size() == 5; }));
  static const std::regex kLogged("<15>.*ap-history: \\[history:[1-9][0-9]*\\] @@ history => .*");
  for (const std::string& line : lines_of(content("/recorded/syslog"))) {
    EXPECT_TRUE(std::regex_match(line, kLogged)) << line;
  }
}

TEST_F(Trace, AKeyWithASlashNamesNoFile) {
  trace_on(kMac);
  write_file("/database/ap/other", "");
  EXPECT_EQ(run_hook({"ap-history", "event", "../other"}), 0);
  EXPECT_EQ(run_hook({"ap-history", "event", ""}), 0);
  EXPECT_EQ(run_hook({"ap-history", "event", ".."}), 0);
  EXPECT_EQ(content("/database/ap/other"), "");
}

TEST_F(Trace, LinesOfManyProcessesStayWhole) {
  trace_on(kMac);
  std::vector<kit::Child> processes;
  const std::string argument(3000, 'x');
  for (int i = 0; i < 20; ++i) {
    processes.push_back(start_hook({"ap-history", argument, kMac}));
  }
  for (kit::Child& process : processes) {
    EXPECT_EQ(process.finish().status, 0);
  }
  const Lines lines = trace_of(kMac);
  EXPECT_EQ(lines.size(), 40U);
  for (const std::string& line : lines) {
    EXPECT_EQ(line.find('\n'), std::string::npos);
  }
}

}  // namespace
