#include <filesystem>
#include <thread>

#include "db/schema.h"
#include "steering/auto_rf.h"
#include "steering/block_release.h"
#include "steering/load_balance.h"
#include "support/appliance.h"

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

const std::string kFilterFile = "/etc/sysconfig/.firewall/wireless_mac_filter.conf";

/// The report of an AP that iniparser refuses: no section is read, the rules run all the same.
const std::string kUnreadable = "no section, no value\n";

/// The station number `n` of the building.
std::string station(int n) {
  char text[18];
  std::snprintf(text, sizeof text, "00:00:5E:00:%02X:%02X", n / 256 % 256, n % 256);
  return text;
}

std::string joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

/// The AP 1, kMac, in a building whose tables a test fills.
class Steering : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_building();
  }

  static void register_building() {
    register_ap(1, kMac, "Lobby");
    sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'it\\'s'), (2, 'Guest')");
  }

  /// Makes the client table of an AP with `clients`: "mac, ssid, channel, rssi, idle" of each.
  static void stations(int sn, const Lines& clients) {
    Connection db(static_cast<const char*>(nullptr));
    create_client_table(db, sn);
    db.close();
    for (const std::string& client : clients) {
      sql("INSERT INTO AP_CLIENT." + std::string(M("AP_%03d", sn)) +
          " (mac, ssid, channel, rssi, idle) VALUES (" + client + ")");
    }
  }

  /// The AP `hearer` (0: the owner itself) hears a radio of `ap` on `essid`.
  static void radio(int hearer, int ap, const std::string& essid, int channel, int signal) {
    static int number = 0;
    sql("INSERT INTO AP_CLIENT.legal SET refer_ap=" + std::to_string(hearer) +
        ", ap=" + std::to_string(ap) + ", mac='" + station(++number) + "', essid='" + essid +
        "', channel=" + std::to_string(channel) + ", `signal`='" + std::to_string(signal) + "'");
  }

  static void block(int sn, int ssid, const std::string& mac) {
    sql("INSERT INTO AP_CLIENT.block SET mac='" + mac + "', ssid=" + std::to_string(ssid) +
        ", refer_ap_sn=" + std::to_string(sn));
  }

  static Lines blocks() {
    return sql_rows("SELECT mac, refer_ap_sn FROM AP_CLIENT.block ORDER BY mac");
  }

  /// AP 1 with 6 stations, two of them at their ease with AP 2, which has room for both.
  static void crowd() {
    stations(1, {"'" + station(1) + "', 2, 36, 50, 31", "'" + station(2) + "', 2, 36, 40, 0",
                 "'" + station(3) + "', 2, 6, 60, 0", "'" + station(4) + "', 2, 36, 20, 30",
                 "'" + station(5) + "', 2, 36, 5, 0"});
    stations(2, {"'" + station(21) + "', 2, 40, 50, 0"});
    radio(0, 1, "Guest", 36, 0);
    radio(1, 2, "Guest", 40, -50);
    radio(2, 1, "Guest", 36, -60);
  }

  static void settings(int balance, int auto_rf, int filter) {
    configure("[settings]\n79 = " + std::to_string(balance) + "\n91 = " + std::to_string(auto_rf) +
              "\n135 = " + std::to_string(filter) + "\n");
  }

  /// The command that answers a report, without its first and its last line.
  static std::string answer() {
    EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(kUnreadable), kAddress, kMac}), 0);
    const std::string text = without_time(content(slot_of(kMac)));
    std::filesystem::remove(slot_of(kMac));
    EXPECT_TRUE(text.starts_with("[command]\n") && text.ends_with("time=T\n")) << text;
    return text.substr(10, text.size() - 17);
  }
};

TEST_F(Steering, APassTellsItsWholeStory) {
  trace_on(kMac);
  stations(1, {"'00:00:5e:00:00:0a', 1, 36, 50, 10", "'" + station(2) + "', 1, 36, 45, 40",
               "'" + station(3) + "', 1, 14, 40, 100", "'" + station(4) + "', 2, 6, 30, 31",
               "'" + station(5) + "', 9, 6, 25, 30", "'" + station(6) + "', 1, 36, 20, 0"});
  sql("UPDATE AP_CLIENT.AP_001 SET aid=3, tx_rate='^o^', rx_rate='65M', tx_seq=7, rx_seq=8 "
      "WHERE rssi=50");
  stations(2, {"'" + station(21) + "', 1, 40, 50, 0"});
  stations(3, {"'" + station(31) + "', 1, 44, 50, 0", "'" + station(32) + "', 1, 44, 50, 0"});
  block(9, 1, station(2));
  radio(0, 1, "it\\'s", 36, 0);
  radio(0, 1, "Guest", 6, 0);
  radio(1, 2, "it\\'s", 40, -50);
  radio(1, 3, "it\\'s", 44, -60);
  radio(1, 3, "Guest", 6, -70);
  radio(2, 1, "it\\'s", 36, -60);
  radio(2, 1, "Guest", 6, -60);
  ReleaseAll release_all = ReleaseAll::no;
  EXPECT_EQ(ap_load_balance_rule(kMac, release_all),
            "kick0=" + station(3) + "\nkick1=" + station(2) + "\nkick2=" + station(4) +
                "\nblock0=00:00:5e:00:00:0a\n");
  EXPECT_EQ(release_all, ReleaseAll::no);
  EXPECT_EQ(sql_rows("SELECT mac, ssid, aid, channel, tx_rate, rx_rate, rssi, idle, tx_seq, "
                     "rx_seq, refer_ap_sn FROM AP_CLIENT.block WHERE refer_ap_sn=1"),
            Lines{"00:00:5E:00:00:0A|1|3|36||65M|50|10|7|8|1"});
  EXPECT_EQ(joined(trace_of(kMac)), content("/source/tests/hooks/load_balance.trace"));

  // The next report finds the station refused, in whichever case, and nobody else to refuse.
  EXPECT_EQ(ap_load_balance_rule(kMac, release_all)->find("block"), std::string::npos);
  EXPECT_EQ(blocks().size(), 2U);
}

TEST_F(Steering, BlocksAreAllLiftedForALoneStationOrAnSsidOutOfHearing) {
  struct Case {
    const char* what;
    int stations;
    int heard_at;  // level at which AP 1 hears "it's", 0: not at all
    int hearer;    // the AP that hears AP 1 on "it's", 0: none
    int blocked;   // profile of a block that AP 1 holds, 0: none
    bool released;
    const char* last;  // line of the rule that decided
  };
  const Case cases[] = {{"lone", 1, -50, 2, 0, true, "amount:1 <= 1"},
                        {"heard and hearing", 3, -74, 2, 1, false, ""},
                        {"nobody hears it", 0, -50, 0, 1, true, "rule matched"},
                        {"nobody hears it, no block", 2, -50, 0, 2, false, ""},
                        {"hears it too weakly", 3, -75, 2, 1, true, "rule matched"},
                        {"hears nothing", 5, 0, 2, 1, true, "rule matched"},
                        {"hears nothing, no block", 5, 0, 2, 0, false, ""}};
  for (const Case& c : cases) {
    HookTest::SetUp();
    register_building();
    trace_on(kMac);
    Lines clients;
    for (int i = 0; i < c.stations; ++i) {
      clients.push_back("'" + station(i) + "', 1, 36, 50, 60");
    }
    stations(1, clients);
    radio(0, 1, "it\\'s", 36, 0);
    if (c.heard_at != 0) {
      radio(1, 2, "it\\'s", 40, c.heard_at);
    }
    if (c.hearer != 0) {
      radio(c.hearer, 1, "it\\'s", 36, -90);
    }
    if (c.blocked != 0) {
      block(1, c.blocked, station(99));
    }
    ReleaseAll release_all = ReleaseAll::no;
    EXPECT_EQ(ap_load_balance_rule(kMac, release_all),
              c.released ? std::nullopt : std::optional<std::string>(""))
        << c.what;
    EXPECT_EQ(release_all == ReleaseAll::yes, c.released) << c.what;
    EXPECT_EQ(blocks().size(), c.blocked != 0 ? 1U : 0U) << "lifted by the caller only";
    const Lines trace = trace_of(kMac, "ap_load_balance_rule");
    EXPECT_EQ(trace.size(), c.released ? 1U : 0U);
    EXPECT_NE((trace.empty() ? "" : trace[0]).find(c.last), std::string::npos) << c.what;
    EXPECT_EQ(trace_of(kMac, "get_available_demand").empty(), c.stations <= 3);
  }
}

TEST_F(Steering, AMatchYieldsNoLines) {
  crowd();
  radio(0, 1, "it\\'s", 1, 0);
  block(1, 1, station(99));
  ReleaseAll release_all = ReleaseAll::no;
  EXPECT_EQ(ap_load_balance_rule(kMac, release_all), std::nullopt);
  EXPECT_EQ(release_all, ReleaseAll::yes);
  EXPECT_EQ(blocks().size(), 3U) << "the two of this pass stay until the caller lifts all";
}

TEST_F(Steering, ABlockIsLiftedWhenNoNeighbourServesTheStation) {
  trace_on(kMac);
  const auto released = [] {
    Connection db(kMac);
    return ap_release_block_rule(db, kMac);
  };
  EXPECT_EQ(released(), std::nullopt);
  block(1, 1, station(1));  // at the second of three neighbours
  block(1, 1, station(2));  // nowhere
  block(1, 2, station(3));  // no neighbour on that SSID
  block(1, 9, station(4));  // no such profile
  block(2, 1, station(5));  // refused by another AP
  stations(3, {"'00:00:5e:00:00:01', 1, 36, 50, 0"});
  stations(4, {});
  for (const int ap : {2, 3, 4}) {
    radio(1, ap, "it\\'s", 36, -80);
  }
  EXPECT_EQ(released(), "release0=" + station(2) + "\nrelease1=" + station(3) + "\n");
  EXPECT_EQ(blocks(), (Lines{station(1) + "|1", station(4) + "|1", station(5) + "|2"}));
  EXPECT_EQ(joined(trace_of(kMac)), content("/source/tests/hooks/block_release.trace"));
}

TEST_F(Steering, PowerStepsAreDecidedFromWhatOthersHear) {
  const std::string where = " FROM `AP_CLIENT`.`legal` WHERE `ap`=1 AND `refer_ap`>0";
  const Lines all{
      "isStrength: (1/1) SELECT `refer_ap`" + where + " AND `signal`>-70 GROUP BY `ap`",
      "isWeakness: (1/2) SELECT COUNT(`refer_ap`)" + where + " GROUP BY `ap`",
      "isWeakness: (2/2) SELECT `refer_ap`" + where + " AND `signal`<-70 GROUP BY `ap`"};
  struct Case {
    std::vector<int> levels;
    std::optional<std::string> line;
    std::ptrdiff_t queries;
  };
  for (const Case& c : std::vector<Case>{{{-65}, "autoRF=-1\n", 1},
                                         {{-75, -90}, "autoRF=1\n", 3},
                                         {{-75, -60}, "autoRF=-1\n", 1},
                                         {{-70}, std::nullopt, 3},
                                         {{}, std::nullopt, 2}}) {
    sql("DELETE FROM AP_CLIENT.legal");
    trace_on(kMac);
    radio(0, 1, "Guest", 36, -10);
    for (const int level : c.levels) {
      radio(2, 1, "Guest", 36, level);
    }
    EXPECT_EQ(ap_auto_rf_rule(kMac), c.line) << testing::PrintToString(c.levels);
    const Lines trace = trace_of(kMac);
    EXPECT_EQ(Lines(trace.begin() + 1, trace.end()), Lines(all.begin(), all.begin() + c.queries));
  }
}

TEST_F(Steering, SettingsSwitchTheRules) {
  crowd();
  write_file(kFilterFile, "1 " + kOtherMac + "\n");
  const Lines kept{station(1) + "|1", station(2) + "|1", station(99) + "|1"};
  for (const int balance : {0, 1}) {
    for (const int auto_rf : {0, 2}) {
      for (const int filter : {0, 1, 2}) {
        sql("DELETE FROM AP_CLIENT.block");
        block(1, 2, station(99));
        settings(balance, auto_rf, filter);
        const bool steered = balance != 0 && filter != 1;
        std::string expected = steered ? "type=4\nkick0=" + station(1) + "\nblock0=" + station(1) +
                                             "\nblock1=" + station(2) + "\n"
                                       : "";
        expected += auto_rf == 0 ? "autoRF=0\n" : "autoRF=-1\n";
        expected += M("macFilterControl=%d\n", filter);
        expected += filter == 0 ? "" : "macFilterAddr1=" + kOtherMac + "\n";
        EXPECT_EQ(answer(), expected) << balance << auto_rf << filter;
        EXPECT_EQ(blocks(), filter != 0 ? Lines{} : steered ? kept : Lines{kept.back()});
      }
    }
  }
}

TEST_F(Steering, EveryApIsToldTheMacFilter) {
  settings(0, 0, 2);
  std::string many;
  std::string told;
  for (int i = 0; i < 10'000; ++i) {
    many += "wlan\t" + station(i) + " x\r\n";
    told += (i % 16 == 0 ? M("macFilterAddr%d=", i / 16 + 1) : ",") + station(i);
    told += i % 16 == 15 ? "\n" : "";
  }
  struct Case {
    std::optional<std::string> file;
    std::string lines;
    Lines trace;
  };
  for (const Case& c :
       std::vector<Case>{{std::nullopt, "", {kFilterFile + " cannot be read"}},
                         {"", "", {kFilterFile + " names 0 addresses"}},
                         {"1 " + kMac + "5\n1 " + kMac,
                          "macFilterAddr1=" + kMac + "\n",
                          {"not an address: " + kMac + "5", kFilterFile + " names 1 addresses"}},
                         {many, told, {kFilterFile + " names 10000 addresses"}}}) {
    trace_on(kMac);
    if (c.file) {
      write_file(kFilterFile, *c.file);
    }
    EXPECT_EQ(answer(), "autoRF=0\nmacFilterControl=2\n" + c.lines);
    EXPECT_EQ(trace_of(kMac, "ap_mac_filter_conf"), c.trace);
  }
}

TEST_F(Steering, TheReleaseOfAllAndTheAnswerFollowEachOtherIntoTheSlot) {
  settings(1, 0, 0);
  const Words aps{kMac, kOtherMac, "00:11:22:33:44:77"};
  register_ap(2, aps[1], "Quiet");
  register_ap(3, aps[2], "Full");
  write_file(slot_of(aps[2]), "taken");
  std::vector<pid_t> cycles;
  Lines fetched;
  const std::jthread controller([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      if (exists(slot_of(aps[0]))) {
        fetched.push_back(without_time(content(slot_of(aps[0]))));
        std::filesystem::remove(slot_of(aps[0]));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  const auto start = steady_clock::now();
  for (int sn = 1; sn <= 3; ++sn) {
    const std::string& mac = aps[static_cast<std::size_t>(sn - 1)];
    stations(sn, {"'" + station(sn) + "', 1, 36, 50, 60"});
    block(sn, 1, station(100 + sn));
    cycles.push_back(start_hook({"ap-command", "1", deliver_report(kUnreadable), kAddress, mac}));
  }
  for (const pid_t cycle : cycles) {
    EXPECT_EQ(finish(cycle), 0);
  }
  EXPECT_GE(steady_clock::now() - start, seconds(30));
  EXPECT_LT(steady_clock::now() - start, seconds(33)) << "two writers with 15 tries";
  EXPECT_EQ(fetched, (Lines{"[command]\ntype=5\ntime=T\n",
                            "[command]\nautoRF=0\nmacFilterControl=0\ntime=T\n"}));
  EXPECT_EQ(without_time(content(slot_of(aps[1]))), "[command]\ntype=5\ntime=T\n");
  EXPECT_EQ(content(slot_of(aps[2])), "taken");
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
  EXPECT_EQ(names_in("/database/ap/command").size(), 2U) << "nothing half-written is left";
  EXPECT_EQ(blocks(), Lines{});
}

}  // namespace
