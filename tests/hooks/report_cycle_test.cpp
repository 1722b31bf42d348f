#include <syslog.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include "support/appliance.h"

namespace {

using std::chrono::seconds;

class ReportCycle : public HookTest {
 protected:
  static int report(const std::string& path, const std::string& mac = kMac) {
    return run_hook({"ap-command", "1", path, kAddress, mac});
  }
  static std::string status_report(const std::string& mac, const std::string& version) {
    return "[00]\nMAC=" + mac + "\ncpu=12%\nmemory=48%\nversion=" + version + "\nuptime=3600\n";
  }
};

TEST_F(ReportCycle, RegistersAnUnknownApAndAnswersIt) {
  configure("[controller]\ndefault_profile_sn = 1,2\ndefault_ap_wired = 3\n");
  trace_on(kMac);
  const std::string mac = "00:11:22:aa:bb:cc";
  trace_on(mac);
  const std::string path = deliver_report(status_report(mac, "2.1.0"));
  EXPECT_EQ(report(path, mac), 0);

  EXPECT_EQ(
      sql_rows("SELECT SN, MAC, Name, IP, Status, pf_id, 5G_pf_id, wired_id, ETime, "
               "STime > NOW() - INTERVAL 1 MINUTE FROM AP_INFO.ap_list"),
      Lines{"1|00:11:22:AA:BB:CC|" + mac + "|" + kAddress + "|1|1,2|1,2|3|0000-00-00 00:00:00|1"});
  EXPECT_EQ(sql_rows("SHOW TABLES FROM AP_CLIENT LIKE 'AP\\_%'"), Lines{"AP_001"});
  EXPECT_EQ(controller_calls(), (Lines{"ap_sync_host 1", "setRemote 1 0 1 0"}));
  EXPECT_EQ(sql_rows("SELECT cpu_util, memory_util, fw_version, uptime FROM AP_INFO.ap_list"),
            Lines{"12%|48%|2.1.0|3600"});
  EXPECT_TRUE(without_time(content(slot_of(mac))).starts_with("[command]\nautoRF=0\n"));
  EXPECT_TRUE(without_time(content(slot_of(mac))).ends_with("time=T\n"));
  EXPECT_FALSE(exists(path));
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});

  const Lines trace = trace_of(mac);
  EXPECT_EQ(trace.front(), "command: =====START parsing " + mac + " data=====");
  EXPECT_EQ(trace.back(), "command: =====END parsing " + mac + " data=====\n\n");
  EXPECT_EQ(trace_of(mac, "ap_conf_set"),
            Lines{content(slot_of(mac)).substr(0, content(slot_of(mac)).size() - 1) + "\n"})
      << "what was written is what was traced";
}

TEST_F(ReportCycle, StatusIsStoredWithANewFirmwareVersionOnly) {
  register_ap(1, kMac, "Lobby");
  sql("UPDATE AP_INFO.ap_list SET fw_version='2.0.9'");
  const auto stored = [] {
    return sql_rows("SELECT cpu_util, fw_version, uptime FROM AP_INFO.ap_list");
  };
  EXPECT_EQ(report(deliver_report(status_report(kMac, "2.1.0"))), 0);
  EXPECT_EQ(stored(), Lines{"12%|2.1.0|3600"});
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(report(deliver_report("[00]\nMAC=" + kMac + "\nversion=2.1.0\ncpu=99%\n")), 0);
  EXPECT_EQ(stored(), Lines{"12%|2.1.0|3600"});
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(report(deliver_report("[00]\nMAC=" + kMac + "\nversion=\ncpu=99%\n")), 0);
  EXPECT_EQ(stored(), Lines{"12%|2.1.0|3600"});
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(report(deliver_report("[00]\nMAC=" + kMac + "\ncpu=99%\n")), 0);
  EXPECT_EQ(stored(), Lines{"99%||"}) << "no version: all four are stored";
}

TEST_F(ReportCycle, HostileStatusValuesReachNoStatement) {
  register_ap(1, kMac, "Lobby");
  trace_on(kMac);
  sql("UPDATE AP_INFO.ap_list SET fw_version='old'");
  for (const char* value : {"x', Status=9, Name='", "x\\y", "1' OR '1'='1"}) {
    for (const char* key : {"MAC", "cpu", "memory", "version", "uptime"}) {
      const std::string text =
          std::string("[00]\nMAC=") + kMac + "\nversion=new\n" + key + "=" + value + "\n";
      EXPECT_EQ(report(deliver_report(text)), 0);
      std::filesystem::remove(slot_of(kMac));
    }
  }
  EXPECT_EQ(sql_rows("SELECT Name, Status, fw_version FROM AP_INFO.ap_list"), Lines{"Lobby|1|old"});
  const Lines trace = trace_of(kMac, "ap_system_parse");
  EXPECT_EQ(std::count(trace.begin(), trace.end(), "not sent: a value would break the statement"),
            15);

  const std::string bytes = "\xff\xfe%s%n\x01\x7f";
  EXPECT_EQ(report(deliver_report("[00]\nMAC=" + kMac + "\nversion=" + bytes + "\n")), 0);
  EXPECT_EQ(sql_value("SELECT fw_version FROM AP_INFO.ap_list"), bytes);
}

TEST_F(ReportCycle, HostileAddressIsText) {
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(""), "1'), ('\\", kMac}), 0);
  EXPECT_EQ(sql_rows("SELECT IP, MAC FROM AP_INFO.ap_list"), Lines{"1'), ('\\|" + kMac});
}

TEST_F(ReportCycle, AnOfflineApThatReportsIsOnline) {
  register_ap(1, kMac, "Lobby");
  sql("UPDATE AP_INFO.ap_list SET Status=0, action=2, ETime=NOW()");
  EXPECT_EQ(report(deliver_report("")), 0);
  EXPECT_EQ(sql_rows("SELECT Status, action, ETime, STime > NOW() - INTERVAL 1 MINUTE FROM "
                     "AP_INFO.ap_list"),
            Lines{"1|2|0000-00-00 00:00:00|1"});
}

TEST_F(ReportCycle, AReportThatCannotBeParsedIsRemovedAndAnswered) {
  register_ap(1, kMac, "Lobby");
  sql("UPDATE AP_INFO.ap_list SET fw_version='old'");
  trace_on(kMac);
  for (const std::string& text :
       {status_report(kMac, std::string(1100, 'v')), std::string("no section, no value\n"),
        status_report(kMac, std::string("a\0b", 3))}) {
    const std::string path = deliver_report(text);
    EXPECT_EQ(report(path), 0);
    EXPECT_FALSE(exists(path));
    EXPECT_TRUE(exists(slot_of(kMac)));
    std::filesystem::remove(slot_of(kMac));
    EXPECT_FALSE(trace_of(kMac, "report_load").empty());
  }
  const std::string link = "/database/ap/reports/link.ini";
  const std::string target = deliver_report(status_report(kMac, "linked"));
  std::filesystem::create_symlink(target, link);
  EXPECT_EQ(report(link), 0);
  EXPECT_TRUE(exists(target));
  EXPECT_EQ(sql_value("SELECT fw_version FROM AP_INFO.ap_list"), "old");
}

TEST_F(ReportCycle, SettingsThatCannotBeReadAreToldOnce) {
  const std::string path = "/etc/ap-run/platform.ini";
  const auto complaints = [&] {
    std::filesystem::resize_file("/recorded/syslog", 0);
    EXPECT_EQ(report(deliver_report("")), 0);
    EXPECT_NE(content(slot_of(kMac)).find("\nautoRF=0\n"), std::string::npos) << "the default";
    std::filesystem::remove(slot_of(kMac));
    syslog(LOG_DEBUG, "end");
    EXPECT_TRUE(eventually([] { return content("/recorded/syslog").ends_with("end\n"); }));
    Lines found;
    for (const std::string& line : lines_of(content("/recorded/syslog"))) {
      if (line.find(": every setting has its default") != std::string::npos) {
        found.push_back(line.substr(line.find(path)));
      }
    }
    return found;
  };
  EXPECT_EQ(complaints(), Lines{}) << "no file";
  std::filesystem::create_directory(path);
  const std::string none =
      path + " cannot be read (no regular file): every setting has its default";
  EXPECT_EQ(complaints(), Lines{none});
  trace_on(kMac);
  EXPECT_EQ(complaints(), (Lines{none, none})) << "the trace goes there, too";
  std::filesystem::remove(path);
  for (const std::string& last : {std::string(1100, '1'), std::string("1\n\0", 3)}) {
    configure("[settings]\n91=" + last);
    EXPECT_EQ(complaints().size(), 2U);
  }
  EXPECT_EQ(trace_of(kMac, "settings").size(), 3U);
}

TEST_F(ReportCycle, NoRegularFileMeansStartAndEnd) {
  trace_on(kMac);
  for (const char* path : {"", "/nowhere/report.ini", "/database/ap/reports"}) {
    EXPECT_EQ(report(path), 0);
  }
  const Lines once{"command: =====START parsing " + kMac + " data=====",
                   "command: =====END parsing " + kMac + " data=====\n\n"};
  Lines expected;
  for (int i = 0; i < 3; ++i) {
    expected.insert(expected.end(), once.begin(), once.end());
  }
  EXPECT_EQ(trace_of(kMac), expected);
  EXPECT_FALSE(exists(slot_of(kMac)));
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
}

TEST_F(ReportCycle, RadarSwitchKeepsReports) {
  write_file("/database/ap/radar/debug", "");
  const std::string path = deliver_report("[00]\nversion=1\n");
  EXPECT_EQ(report(path), 0);
  EXPECT_TRUE(exists(path));
}

TEST_F(ReportCycle, ALockHoldsForTenMinutes) {
  const std::string lock = "/database/ap/lock/" + kMac;
  const std::string path = deliver_report("");
  // The age is exact only if the second has not changed when the hook has looked.
  for (std::time_t start = 0; start != std::time(nullptr);) {
    start = std::time(nullptr);
    write_file(lock, "");
    write_file(path, "");
    set_age(lock, seconds(599));
    EXPECT_EQ(report(path), 0);
    if (start != std::time(nullptr)) {
      std::filesystem::remove(slot_of(kMac));
    }
  }
  EXPECT_TRUE(exists(path));
  EXPECT_TRUE(exists(lock));
  EXPECT_FALSE(exists(slot_of(kMac)));
  for (const seconds stale : {seconds(600), seconds(-60)}) {
    write_file(lock, "");
    write_file(path, "");
    set_age(lock, stale);
    EXPECT_EQ(report(path), 0);
    EXPECT_FALSE(exists(path));
    EXPECT_FALSE(exists(lock));
    EXPECT_TRUE(std::filesystem::remove(slot_of(kMac)));
  }
}

TEST_F(ReportCycle, ACycleThatDiesLeavesItsLock) {
  write_file(slot_of(kMac), "taken");
  const std::string lock = "/database/ap/lock/" + kMac;
  kit::Child cycle = start_hook({"ap-command", "1", deliver_report(""), kAddress, kMac});
  ASSERT_TRUE(eventually(
      [&] { return exists(lock) && !sql_rows("SELECT 1 FROM AP_INFO.ap_list").empty(); }));
  kill(cycle.id(), SIGKILL);
  EXPECT_EQ(cycle.finish().status, 128 + SIGKILL);
  EXPECT_TRUE(exists(lock));
  const std::string next = deliver_report("");
  EXPECT_EQ(report(next), 0);
  EXPECT_TRUE(exists(next)) << "dropped while the lock is young";
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(run_hook({"ap-up", kAddress, kMac}), 0);
  EXPECT_FALSE(exists(lock));
}

TEST_F(ReportCycle, AnAnswerThatIsNeverFetchedIsLost) {
  write_file(slot_of(kMac), "taken");
  trace_on(kMac);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(report(deliver_report("")), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, seconds(15));
  EXPECT_EQ(content(slot_of(kMac)), "taken");
  const std::string lost =
      "command lost: " + slot_of(kMac) + ": the slot stayed taken for 15 seconds";
  EXPECT_EQ(trace_of(kMac, "ap_conf_set"), Lines{lost});
  EXPECT_NE(content("/recorded/syslog").find("AP " + kMac + ": " + lost), std::string::npos);
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
}

TEST_F(ReportCycle, TwoReportsOfOneApAtOnce) {
  for (int round = 0; round < 20; ++round) {
    const Words first{"ap-command", "1", deliver_report(status_report(kMac, "1")), kAddress, kMac};
    const Words second{"ap-command", "1", deliver_report(status_report(kMac, "2")), kAddress, kMac};
    kit::Child one = start_hook(first);
    kit::Child two = start_hook(second);
    // Both may get past the lock; then the later one waits for the slot.
    std::jthread controller([](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        std::filesystem::remove(slot_of(kMac));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    });
    EXPECT_EQ(one.finish().status, 0);
    EXPECT_EQ(two.finish().status, 0);
    controller.request_stop();
    controller.join();
    std::filesystem::remove(slot_of(kMac));
    EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_INFO.ap_list"), "1");
    EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
    EXPECT_EQ(names_in("/database/ap/command"), Lines{});
    sql("DELETE FROM AP_INFO.ap_list");
  }
}

}  // namespace
