#include <filesystem>
#include <set>
#include <thread>

#include "steering/auto_rf.h"
#include "steering/block_release.h"
#include "steering/load_balance.h"
#include "support/appliance.h"

namespace {

constexpr Event kTest{"test", Remedy::none};

using std::chrono::seconds;
using std::chrono::steady_clock;

const std::string kFilterFile = "/etc/sysconfig/.firewall/wireless_mac_filter.conf";

/// What AP 1 of the building is told at its first report.
const std::string kMoves =
    "kick0=02:00:00:00:00:03\nkick1=02:00:00:00:00:02\nkick2=02:00:00:00:00:04\n"
    "block0=02:00:00:00:00:0a\n";

std::string whole_trace() {
  std::string text;
  for (const std::string& line : trace_of(kMac)) {
    text += line + "\n";
  }
  return text;
}

/// AP 1, kMac, and its neighbours as building.sql has them.
class Steering : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(1, kMac, "Lobby");
    ASSERT_EQ(std::system("mariadb </source/tests/hooks/building.sql"), 0);
    trace_on(kMac);
  }

  static Lines blocks() {
    return sql_rows("SELECT mac, refer_ap_sn FROM AP_CLIENT.block ORDER BY mac");
  }

  static void settings(int balance, int auto_rf, int filter) {
    configure(M("[settings]\n79 = %d\n91 = %d\n135 = %d\n", balance, auto_rf, filter));
  }

  static kit::Child start_cycle(const std::string& mac) {
    // No section of this report can be read; the rules run all the same.
    return start_hook({"ap-command", "1", deliver_report("no section\n"), kAddress, mac});
  }

  static bool only_the_test_is_connected() {
    return sql_value("SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE USER='root'") ==
           "1";
  }

  /// The command that answers a report, without its first and its last line.
  static std::string answer() {
    EXPECT_EQ(start_cycle(kMac).finish().status, 0);
    const std::string text = without_time(content(slot_of(kMac)));
    std::filesystem::remove(slot_of(kMac));
    EXPECT_TRUE(text.starts_with("[command]\n") && text.ends_with("time=T\n")) << text;
    return text.substr(10, text.size() - 17);
  }
};

TEST_F(Steering, APassTellsItsWholeStory) {
  Ap ap(kMac, kTest);
  Findings found;
  EXPECT_EQ(ap_load_balance_rule(ap, found), kMoves);
  EXPECT_FALSE(found.release_all);
  EXPECT_EQ(sql_rows("SELECT mac, ssid, aid, channel, tx_rate, rx_rate, rssi, idle, tx_seq, "
                     "rx_seq, refer_ap_sn FROM AP_CLIENT.block WHERE tx_seq=7"),
            Lines{"02:00:00:00:00:0A|1|3|36||65M|50|10|7|8|1"});
  EXPECT_EQ(whole_trace(), content("/source/tests/hooks/load_balance.trace"));

  // The next report finds the station refused, in whichever case, and nobody else to refuse.
  EXPECT_EQ(ap_load_balance_rule(ap, found), kMoves.substr(0, kMoves.find("block")));
  EXPECT_EQ(blocks().size(), 3U);
}

TEST_F(Steering, AStationThatIsNotAddedIsTriedWithTheNextNeighbour) {
  std::filesystem::remove_all("/database/ap/debug");
  // Another AP's block that only the second look sees, the one of ap_block_add.
  sql("INSERT INTO AP_CLIENT.block (mac, refer_ap_sn) VALUES ('02:00:00:00:00:0A', 9)");
  sql("RENAME TABLE AP_CLIENT.block TO AP_CLIENT.blocks");
  sql("CREATE FUNCTION AP_CLIENT.is_second() RETURNS INT BEGIN SET @look=IFNULL(@look, 0)+1; "
      "RETURN @look=2; END");
  sql("CREATE VIEW AP_CLIENT.block AS SELECT * FROM AP_CLIENT.blocks WHERE "
      "mac!='02:00:00:00:00:0A' OR AP_CLIENT.is_second()");
  {
    Ap ap(kMac, kTest);
    Findings found;
    EXPECT_EQ(ap_load_balance_rule(ap, found), kMoves);
  }
  sql("DROP VIEW AP_CLIENT.block");
  sql("DROP FUNCTION AP_CLIENT.is_second");
  sql("RENAME TABLE AP_CLIENT.blocks TO AP_CLIENT.block");
  EXPECT_EQ(blocks()[1], "02:00:00:00:00:0A|1");
}

TEST_F(Steering, AllBlocksAreLiftedForALoneStationOrAnSsidOutOfHearing) {
  // A change of the building, whether all is lifted, and the blocks left for the caller to lift.
  const std::tuple<const char*, bool, std::size_t> cases[] = {
      {"DELETE FROM AP_CLIENT.legal WHERE refer_ap=2", true, 3},
      {"DELETE FROM AP_CLIENT.legal WHERE refer_ap=2 AND essid='Guest'", false, 3},
      {"UPDATE AP_CLIENT.legal SET `signal`='-74' WHERE refer_ap=1", false, 2},
      {"UPDATE AP_CLIENT.legal SET `signal`='-75' WHERE refer_ap=1", true, 2},
      {"DELETE FROM AP_CLIENT.legal WHERE refer_ap=1", true, 2},
      {"DELETE FROM AP_CLIENT.legal WHERE refer_ap=0", false, 3},
      {"DELETE FROM AP_CLIENT.AP_001 LIMIT 3", false, 2},
      {"DELETE FROM AP_CLIENT.AP_001 LIMIT 5", true, 2},
      {"DROP TABLE AP_CLIENT.AP_001", false, 2}};
  std::set<std::string> release_rule;
  for (const auto& [change, released, left] : cases) {
    SetUp();
    sql(change);
    Findings found;
    Ap ap(kMac, kTest);
    (void)ap_load_balance_rule(ap, found);
    EXPECT_EQ(found.release_all, released) << change;
    EXPECT_EQ(blocks().size(), left) << change;
    EXPECT_EQ(trace_of(kMac, "ap_load_balance_rule").size(), released ? 1U : 0U);
    EXPECT_EQ(trace_of(kMac, "get_available_demand").empty(),
              std::string(change).find("AP_001") != std::string::npos);
    const Lines lines = trace_of(kMac, "ap_release_rule");
    release_rule.insert(lines.begin(), lines.end());
  }
  const std::string step = "        (1/1) ";
  const std::string blocks_of = step + "SELECT * FROM `AP_CLIENT`.`block` WHERE `ssid`=";
  EXPECT_EQ(release_rule, (std::set{blocks_of + "1 AND `refer_ap_sn`=1",
                                    blocks_of + "2 AND `refer_ap_sn`=1", step + "no matched"}));
  EXPECT_EQ(trace_of(kMac, "get_ap_client_amount"),
            (Lines{"SELECT COUNT(*) FROM `AP_CLIENT`.`AP_001`",
                   "failed: 1146 Table 'AP_CLIENT.AP_001' doesn't exist"}));
}

TEST_F(Steering, AQueryThatFailsIsNotTakenForNobodyHears) {
  sql("ALTER TABLE AP_CLIENT.legal RENAME COLUMN `signal` TO gone");
  Findings found;
  {
    Ap ap(kMac, kTest);
    (void)ap_load_balance_rule(ap, found);
  }
  sql("ALTER TABLE AP_CLIENT.legal RENAME COLUMN gone TO `signal`");
  EXPECT_FALSE(found.release_all);
  EXPECT_EQ(blocks().size(), 2U);
  EXPECT_NE(whole_trace().find("ap_release_signal_rule: (2/2) failed: 1054"), std::string::npos);
}

TEST_F(Steering, ABlockIsLiftedWhenNoNeighbourServesTheStation) {
  sql("INSERT INTO AP_CLIENT.block (mac, ssid, refer_ap_sn) VALUES ('02:00:00:00:00:98', 9, 1), "
      "('02:00:00:00:00:97', 2, 1), ('02:00:00:00:00:0a', 1, 1)");
  sql("INSERT INTO AP_CLIENT.AP_002 (mac) VALUES ('02:00:00:00:00:0A')");
  const auto released = [](const std::string& mac) {
    Ap ap(mac, kTest);
    ap.db.open();
    Findings found;
    return ap_release_block_rule(ap, found);
  };
  EXPECT_EQ(released(kMac), "release0=02:00:00:00:00:99\nrelease1=02:00:00:00:00:97\n");
  EXPECT_EQ(blocks(), (Lines{"02:00:00:00:00:02|9", "02:00:00:00:00:0a|1", "02:00:00:00:00:98|1"}));
  sql("DELETE FROM AP_CLIENT.legal WHERE refer_ap=1");
  EXPECT_EQ(released(kMac), "release0=02:00:00:00:00:0a\n");
  sql("DELETE FROM AP_CLIENT.block");
  EXPECT_EQ(released(kMac), "");
  EXPECT_EQ(released(kOtherMac), "") << "an unknown AP";
  EXPECT_EQ(whole_trace(), content("/source/tests/hooks/block_release.trace"));
}

TEST_F(Steering, AReportThatIsHalfStoredIsNotSeen) {
  settings(1, 1, 0);
  register_ap(2, kOtherMac, "Hall");
  sql("DELETE FROM AP_CLIENT.AP_002");
  sql("INSERT INTO AP_CLIENT.legal (refer_ap, ap, mac) VALUES (0, 2, '02:02:00:00:00:01')");
  answer();
  const std::string usual = answer();
  const Lines blocked = blocks();
  const std::string hall =
      "[01]\nAddress=02:02:00:00:00:01\nESSID=x\n[02]\nAddress=02:02:00:00:00:05\nESSID=x\n"
      "[Cell 01]\nAddress=02:01:00:00:00:01\nESSID=it's\nSignal=-60\n"
      "[Cell 02]\nAddress=02:01:00:00:00:02\nESSID=Guest\nSignal=-90\n";
  // Another transaction holds a row that the report comes to: of AP 2's own radios, of what it hears.
  for (const char* row : {"0, 9, '02:02:00:00:00:05'", "2, 9, '02:09:00:00:00:01'"}) {
    sql("BEGIN");
    sql(std::string("INSERT INTO AP_CLIENT.legal (refer_ap, ap, mac) VALUES (") + row + ")");
    kit::Child report = start_hook({"ap-command", "1", deliver_report(hall), kAddress, kOtherMac});
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(answer(), usual) << row;
    EXPECT_EQ(std::system("test 1 = $(mariadb -NBe 'SELECT COUNT(*) FROM AP_CLIENT.legal WHERE "
                          "refer_ap=0 AND ap=2 AND mac=\"02:02:00:00:00:01\"')"),
              0)
        << "AP 2 has its radio";
    EXPECT_TRUE(report.runs()) << "it is held up";
    sql("ROLLBACK");
    EXPECT_EQ(report.finish().status, 0);
    std::filesystem::remove(slot_of(kOtherMac));
    EXPECT_EQ(blocks(), blocked);
  }
}

TEST_F(Steering, PowerStepsFollowWhatOthersHear) {
  Ap ap(kMac, kTest);
  Hearing hearing;
  std::string told;
  for (const char* levels : {"'-65', '-90'", "'-75', '-90'", "'-70', '-70'", "'-60', '-75'"}) {
    sql(std::string("UPDATE AP_CLIENT.legal SET `signal`=ELT(2 - (essid='Guest'), ") + levels +
        ") WHERE refer_ap=2");
    told += ap_auto_rf_rule(ap, hearing) + "|";
  }
  sql("DELETE FROM AP_CLIENT.legal WHERE refer_ap=2");
  EXPECT_EQ(told + ap_auto_rf_rule(ap, hearing), "autoRF=-1\n|autoRF=1\n||autoRF=-1\n|");
  EXPECT_EQ(whole_trace(), content("/source/tests/hooks/auto_rf.trace"));
}

TEST_F(Steering, SettingsSwitchTheRules) {
  for (const int balance : {0, 1}) {
    for (const int auto_rf : {0, 2}) {
      for (const int filter : {0, 1, 2}) {
        SetUp();
        write_file(kFilterFile, "1 " + kOtherMac + "\n");
        settings(balance, auto_rf, filter);
        const bool steered = balance != 0 && filter != 1;
        EXPECT_EQ(answer(), (steered ? "type=4\n" + kMoves : "") +
                                (auto_rf == 0 ? "autoRF=0\n" : "autoRF=-1\n") +
                                M("macFilterControl=%d\n", filter) +
                                (filter == 0 ? "" : "macFilterAddr1=" + kOtherMac + "\n"));
        EXPECT_EQ(blocks().size(), filter != 0 ? 1U : steered ? 3U : 2U) << "AP 9 keeps its own";
        EXPECT_EQ(trace_of(kMac, "isStrength").empty(), auto_rf == 0);
      }
    }
  }
}

TEST_F(Steering, EveryApIsToldTheMacFilter) {
  settings(0, 0, 2);
  const std::string head = "autoRF=0\nmacFilterControl=2\n";
  EXPECT_EQ(answer(), head);
  write_file(kFilterFile, "");
  EXPECT_EQ(answer(), head);
  std::string file = "1 " + kMac + "5\n";
  std::string told = head;
  for (int i = 0; i < 10'000; ++i) {
    const std::string mac = M("02:00:00:00:%02X:%02X", i / 256, i % 256);
    file += "wlan\t" + mac + " x\r\n";
    told += (i % 16 == 0 ? M("macFilterAddr%d=", i / 16 + 1) : ",") + mac;
    told += i % 16 == 15 ? "\n" : "";
  }
  write_file(kFilterFile, file);
  EXPECT_EQ(answer(), told);
  EXPECT_EQ(trace_of(kMac, "ap_mac_filter_conf"),
            (Lines{kFilterFile + " cannot be read", kFilterFile + " names 0 addresses",
                   "not an address: " + kMac + "5", kFilterFile + " names 10000 addresses"}));
}

TEST_F(Steering, TheReleaseOfAllAndTheAnswerFollowEachOtherIntoTheSlot) {
  settings(1, 0, 0);
  register_ap(2, kOtherMac, "Its controller never fetches");
  sql("DELETE FROM AP_CLIENT.AP_001 LIMIT 5");
  Lines fetched;
  std::jthread controller([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      if (exists(slot_of(kMac))) {
        fetched.push_back(without_time(content(slot_of(kMac))));
        std::filesystem::remove(slot_of(kMac));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  const auto start = steady_clock::now();
  kit::Child lost = start_cycle(kOtherMac);
  EXPECT_EQ(start_cycle(kMac).finish().status, 0);
  EXPECT_TRUE(eventually(only_the_test_is_connected));
  EXPECT_LT(steady_clock::now() - start, seconds(14)) << "a connection was kept for the wait";
  EXPECT_EQ(lost.finish().status, 0);
  controller.request_stop();
  controller.join();
  EXPECT_GE(steady_clock::now() - start, seconds(15));
  EXPECT_LT(steady_clock::now() - start, seconds(20));
  const std::string release_all = "[command]\ntype=5\ntime=T\n";
  EXPECT_EQ(fetched, (Lines{release_all, "[command]\nautoRF=0\nmacFilterControl=0\ntime=T\n"}));
  EXPECT_EQ(without_time(content(slot_of(kOtherMac))), release_all);
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
  EXPECT_EQ(blocks(), Lines{"02:00:00:00:00:02|9"});
}

TEST_F(Steering, TheChildThatWaitsForTheSlotCostsNoConnection) {
  settings(1, 0, 0);
  sql("DELETE FROM AP_CLIENT.AP_001 LIMIT 5");
  write_file(slot_of(kMac), "taken");
  kit::Child cycle = start_cycle(kMac);
  EXPECT_TRUE(eventually([] { return blocks().size() == 1; }));
  EXPECT_TRUE(eventually(only_the_test_is_connected));
  EXPECT_EQ(content(slot_of(kMac)), "taken");
  for (int command = 0; command < 2; ++command) {
    std::filesystem::remove(slot_of(kMac));
    EXPECT_TRUE(eventually([] { return exists(slot_of(kMac)); }));
  }
  EXPECT_EQ(cycle.finish().status, 0);
}

using Office = HookTest;

TEST_F(Office, IsSteeredByItsReports) {
  ASSERT_EQ(std::system("mariadb </source/lab/reports/profiles.sql"), 0);
  configure("[controller]\ndefault_profile_sn = 1,2,3\n[settings]\n79 = 1\n91 = 1\n");
  std::string told;
  const std::string floor[] = {"lobby", "open-space", "meeting", "canteen"};
  for (const std::size_t ap : {0U, 1U, 2U, 0U, 1U, 2U, 3U, 0U, 1U, 2U, 0U}) {
    const std::string mac = M("00:00:5E:00:53:%zu0", ap + 1);
    const std::string path = deliver_report(content("/source/lab/reports/" + floor[ap] + ".ini"));
    EXPECT_EQ(run_hook({"ap-command", "1", path, kAddress, mac}), 0);
    told += floor[ap] + ": " + without_time(content(slot_of(mac)));
    std::filesystem::remove(slot_of(mac));
  }
  EXPECT_EQ(told, content("/source/tests/hooks/office.commands"));
  EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_CLIENT.block"), "8");
}

}  // namespace
