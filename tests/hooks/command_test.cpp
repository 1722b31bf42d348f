#include <filesystem>
#include <thread>

#include "support/appliance.h"

namespace {

using std::chrono::seconds;

class Command : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(7, kMac, "Lobby");
  }
};

std::string state() {
  const Lines rows = sql_rows("SELECT action, Status, IP, fw_upgrade FROM AP_INFO.ap_list");
  return rows.empty() ? "" : rows.front();
}

TEST_F(Command, TypesWithoutWorkLeaveOnlyTheirTraceLines) {
  trace_on(kMac);
  for (const char* type : {"0", "4", "6", "7", "11", "-1", "99999999999999999999", "x"}) {
    EXPECT_EQ(run_hook({"ap-command", type, kMac, kMac}), 0);
  }
  EXPECT_EQ(trace_of(kMac).size(), 8U * 3U);
  EXPECT_EQ(names_in("/database/ap/command"), Lines{});
  EXPECT_EQ(state(), "0|1|" + kAddress + "|");
}

TEST_F(Command, RebootOverwritesWhatWaits) {
  trace_on(kMac);
  write_file(slot_of(kMac), "[command]\ntype=5\ntime=1\n");
  EXPECT_EQ(run_hook({"ap-command", "2", kMac}), 0);
  EXPECT_EQ(content(slot_of(kMac)), "[command]\ntype=2\n");
  EXPECT_EQ(names_in("/database/ap/command").size(), 1U);
  EXPECT_EQ(state(), "1|0|0.0.0.0|");
  EXPECT_EQ(controller_calls(), Lines{"AH_deleteRelative " + kMac});
  const std::string today = sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')");
  EXPECT_EQ(sql_rows("SELECT Program, Type, Msg FROM CONNTRACK_LOG_" + today + ".ap_controller"),
            Lines{"ap-run|11|AP Lobby rebooted."});
  const std::string forwarded =
      "ap_connection_log: /usr/sbin/send_logmsg -u -d CONNTRACK_LOG -t ap_controller "
      "-m \"<0>[ Connection Log - AP Controller ] AP Lobby rebooted.\" > /dev/null &";
  EXPECT_EQ(trace_of(kMac),
            (Lines{"command: @@ command => [00]:2", "command: @@ command => [01]:" + kMac,
                   "setAction: Called by func(command), action: 1 ",
                   "setAction: UPDATE `AP_INFO`.`ap_list` set `action`=1, `Status`=0, "
                   "`IP`='0.0.0.0', `fw_upgrade`='' WHERE `MAC`=UPPER('" +
                       kMac + "')",
                   "get_ap_name_by_mac: SELECT `Name` FROM `AP_INFO`.`ap_list` WHERE "
                   "`MAC`=UPPER('" +
                       kMac + "')",
                   "ap_connection_log: INSERT INTO `CONNTRACK_LOG_" + today +
                       "`.`ap_controller` (`STime`, `Program`, `Type`, `Msg`) VALUES (NOW(), "
                       "'ap-run', 11, 'AP Lobby rebooted.')",
                   forwarded}));
  ASSERT_TRUE(eventually([] { return !calls_of("send_logmsg").empty(); }));
  EXPECT_EQ(calls_of("send_logmsg"),
            Lines{"-u -d CONNTRACK_LOG -t ap_controller -m "
                  "<0>[\\x20Connection\\x20Log\\x20-\\x20AP\\x20Controller\\x20]\\x20AP\\x20Lobby"
                  "\\x20rebooted."});
}

TEST_F(Command, ANameIsTextForDatabaseAndShell) {
  configure("[settings]\n121 = 134\n");
  sql(R"(UPDATE AP_INFO.ap_list SET Name='a\'b\\c"$(touch /tmp/run)`touch /tmp/run`\n')");
  EXPECT_EQ(run_hook({"ap-command", "2", kMac}), 0);
  const std::string today = sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')");
  EXPECT_EQ(sql_value("SELECT Msg FROM CONNTRACK_LOG_" + today + ".ap_controller"),
            "AP a'b\\c\"$(touch /tmp/run)`touch /tmp/run`\n rebooted.");
  ASSERT_TRUE(eventually([] { return !calls_of("send_logmsg").empty(); }));
  EXPECT_NE(
      calls_of("send_logmsg")[0].find(
          "<134>[\\x20Connection\\x20Log\\x20-\\x20AP\\x20Controller\\x20]\\x20AP\\x20a'b\\x5Cc\""
          "$(touch\\x20/tmp/run)`touch\\x20/tmp/run`\\x0A\\x20rebooted."),
      std::string::npos)
      << calls_of("send_logmsg")[0];
  EXPECT_FALSE(exists("/tmp/run"));
}

TEST_F(Command, MarkAsUpdatingTouchesOnlyAKnownAp) {
  trace_on(kOtherMac);
  EXPECT_EQ(run_hook({"ap-command", "10", "-", kOtherMac}), 0);
  EXPECT_EQ(state(), "0|1|" + kAddress + "|");
  EXPECT_EQ(trace_of(kOtherMac), Lines{}) << "the key of type 10 is its second argument";
  EXPECT_EQ(run_hook({"ap-command", "10", "-", "x') OR ('1'='1"}), 0);
  EXPECT_EQ(state(), "0|1|" + kAddress + "|");
  EXPECT_EQ(run_hook({"ap-command", "10", "-", kMac}), 0);
  EXPECT_EQ(state(), "2|0|0.0.0.0|");
}

TEST_F(Command, ReleaseAllTakesAFreeSlotAndWaitsForATakenOne) {
  EXPECT_EQ(run_hook({"ap-command", "5", "127.0.0.1", kMac}), 0);
  EXPECT_EQ(without_time(content(slot_of(kMac))), "[command]\ntype=5\ntime=T\n");

  write_file(slot_of(kMac), "first");
  kit::Child waiting = start_hook({"ap-command", "5", "127.0.0.1", kMac});
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(content(slot_of(kMac)), "first");
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(waiting.finish().status, 0);
  EXPECT_EQ(without_time(content(slot_of(kMac))), "[command]\ntype=5\ntime=T\n");
  EXPECT_EQ(names_in("/database/ap/command").size(), 1U) << "nothing is left beside the slot";
}

TEST_F(Command, ReleaseAllGivesUpAfterFifteenSeconds) {
  write_file(slot_of(kMac), "first");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(run_hook({"ap-command", "5", "127.0.0.1", kMac}), 0);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, seconds(15));
  EXPECT_LT(waited, seconds(20));
  EXPECT_EQ(content(slot_of(kMac)), "first");
}

TEST_F(Command, ReleaseAllEndsAtOnceWhereNoFileCanBeMade) {
  std::filesystem::remove("/database/ap/command");
  write_file("/database/ap/command", "in the way");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(run_hook({"ap-command", "5", "127.0.0.1", kMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "2", kMac}), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(5));
  EXPECT_EQ(state(), "1|0|0.0.0.0|");
  std::filesystem::remove("/database/ap/command");
  std::filesystem::create_directory("/database/ap/command");
  EXPECT_EQ(std::system(("ulimit -f 0; exec ap-command 5 - " + kMac).c_str()), 0);
  EXPECT_EQ(names_in("/database/ap/command"), Lines{});
}

TEST_F(Command, DisconnectNamesTheApOrTheTool) {
  trace_on("00:00:00:00:00:00");
  EXPECT_EQ(run_hook({"ap-command", "9", "00:00:00:00:00:00"}), 0);
  EXPECT_EQ(run_hook({"ap-command", "9", "00:00:00:00:00:00", "it's; a \"name\""}), 0);
  EXPECT_EQ(trace_of("00:00:00:00:00:00").back(),
            "command: /usr/sbin/wum -c disconnect -n it's; a \"name\" > /dev/null 2>&1 &");
  ASSERT_TRUE(eventually([] { return calls_of("wum").size() == 1; }));
  EXPECT_EQ(calls_of("wum")[0], "-c disconnect -n it's;\\x20a\\x20\"name\"");
  EXPECT_EQ(run_hook({"ap-command", "9", kMac, "name"}), 0);
  ASSERT_TRUE(eventually([] { return calls_of("wum").size() == 2; }));
  EXPECT_EQ(calls_of("wum")[1], "-c disconnect -m " + kMac);
}

}  // namespace
