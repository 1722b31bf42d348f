#include <algorithm>
#include <filesystem>

#include "db/connection.h"
#include "support/appliance.h"

namespace {

class Lifecycle : public HookTest {
 protected:
  static std::string info() { return "/database/ap/info/" + kMac; }
  static int up(const std::string& ip) { return run_hook({"ap-up", ip, kMac}); }
  static int down() { return run_hook({"ap-down", kMac}); }
  static void joined_ago(int seconds) {
    sql("UPDATE AP_INFO.ap_list SET STime=NOW() - INTERVAL " + std::to_string(seconds) +
        " SECOND, Name='Lobby'");
  }
  static std::string row() {
    return sql_rows(
               "SELECT CONCAT_WS('|', SN, MAC, Name, IP, Status, action, fw_upgrade, "
               "ETime > 0, STime > NOW() - INTERVAL 1 MINUTE) FROM AP_INFO.ap_list")
        .at(0);
  }
  static Lines log() {
    return sql_rows("SELECT Msg FROM CONNTRACK_LOG_" +
                    sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')") + ".ap_controller");
  }
  /// What the controller and helper programs were called with since the last time, the helpers
  /// sorted. Those in the background are waited for: `logged` calls in all, `pushed` new ones.
  static Lines calls(std::size_t logged, std::size_t pushed) {
    EXPECT_TRUE(eventually([&] {
      return calls_of("send_logmsg").size() == logged &&
             calls_of("mobile_pushmsg").size() == pushed;
    }));
    Lines lines = controller_calls();
    for (const char* program : {"mobile_pushmsg", "sendmail"}) {
      Lines sorted = calls_of(program);
      std::sort(sorted.begin(), sorted.end());
      for (const std::string& call : sorted) {
        lines.push_back(std::string(program) + " " + call);
      }
      std::filesystem::remove(std::string("/recorded/") + program);
    }
    std::filesystem::remove("/var/log/ap-run/controller.log");
    return lines;
  }
  static bool marked() { return exists("/var/log/notice/" + kMac); }
  static bool told_to_release() {
    const bool told = without_time(content(slot_of(kMac))) == "[command]\ntype=5\ntime=T\n";
    std::filesystem::remove(slot_of(kMac));
    return told;
  }
};

/// The trace without the lines that other tests look at.
Lines operations(const std::string& first) {
  Lines lines = trace_of(kMac);
  lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), first));
  std::filesystem::resize_file("/database/ap/debug/" + kMac, 0);
  return lines;
}

TEST_F(Lifecycle, OfOneAp) {
  const std::string where = " WHERE `MAC`=UPPER('" + kMac + "')";
  const std::string known =
      "ap_up_register: SELECT `SN`, `IP`, `Name`, `Status`, `fw_upgrade` FROM `AP_INFO`.`ap_list`" +
      where;
  const std::string times =
      "ap_notice_mail: SELECT `STime`, `ETime` FROM `AP_INFO`.`ap_list`" + where;
  const std::string users = "ap_push_notice: SELECT `ID`, `TYPE` FROM `AP_USER`.`app_login`";
  const auto logged = [](const std::string& message) {
    return "ap_connection_log: INSERT INTO `CONNTRACK_LOG_" +
           sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')") +
           "`.`ap_controller` (`STime`, `Program`, `Type`, `Msg`) VALUES (NOW(), 'ap-run', 11, '" +
           message + "')";
  };
  configure(
      "[settings]\n92 = 1\n[controller]\ndefault_profile_sn = 1,2\ndefault_ap_wired = 3\n"
      "[mail]\nfield1 = ap@example.org\nfield3 = one@example.org\n");
  sql("INSERT INTO AP_USER.app_login VALUES ('id one', 'ios'), ('2', 'android')");
  trace_on(kMac);

  // First join, with its capability file.
  write_file(info(), "[SYSTEM]\nversion=2.1.0\nethernet_num=2\nwget_update=1\n");
  EXPECT_EQ(up("10.0.0.1"), 0);
  EXPECT_EQ(row(), "1|" + kMac + "|" + kMac + "|10.0.0.1|1|0||0|1");
  EXPECT_EQ(calls(1, 0), (Lines{"ap_sync_host 1", "setRemote 1 0 1 0", "sendmail -oi -t"}));
  EXPECT_FALSE(exists(info()));
  EXPECT_TRUE(exists("/database/ap/support/" + kMac + ".update"));
  EXPECT_FALSE(told_to_release()) << "unknown when its blocks would have been lifted";
  EXPECT_EQ(operations(known),
            (Lines{known,
                   "ap_up_register: INSERT INTO `AP_INFO`.`ap_list` SET `STime`=NOW(), "
                   "`ETime`='0000-00-00 00:00:00', `Name`='" +
                       kMac +
                       "', `IP`='10.0.0.1', `MAC`="
                       "UPPER('" +
                       kMac +
                       "'), `Status`='1', `pf_id`='1,2', `5G_pf_id`='1,2', "
                       "`wired_id`='3', `fw_version`='2.1.0', `wired_max`=2",
                   times, logged("AP " + kMac + " is connected.")}));

  // It leaves after 30 seconds, which is not recorded, and again after 80.
  joined_ago(30);
  sql("CREATE TABLE AP_CLIENT.AP_001 (mac INT)");
  sql("INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac) VALUES (1, 0, 'A'), (1, 9, 'A'), (2, 1, 'B')");
  sql("INSERT INTO AP_CLIENT.illegal (ap_sn, mac) VALUES ('1', 'A'), ('3,1,12', 'B'), ('12', 'C')");
  sql("INSERT INTO AP_CLIENT.client (mac) VALUES ('" + kMac + "')");
  EXPECT_EQ(down(), 0);
  EXPECT_EQ(row(), "1|" + kMac + "|Lobby|10.0.0.1|1|0||0|1");
  EXPECT_EQ(sql_rows("SHOW TABLES FROM AP_CLIENT LIKE 'AP\\_%'"), Lines{});
  EXPECT_EQ(sql_rows("SELECT ap, refer_ap FROM AP_CLIENT.legal"), Lines{"1|9"});
  EXPECT_EQ(sql_rows("SELECT ap_sn FROM AP_CLIENT.illegal ORDER BY mac"), (Lines{"3,12", "12"}));
  EXPECT_EQ(sql_rows("SELECT mac FROM AP_CLIENT.client"), Lines{});
  EXPECT_FALSE(told_to_release()) << "the command of the leave goes with the AP";
  EXPECT_EQ(calls(1, 0), Lines{});
  EXPECT_FALSE(marked());

  joined_ago(80);
  operations("");
  EXPECT_EQ(down(), 0);
  EXPECT_EQ(row(), "1|" + kMac + "|Lobby|0.0.0.0|0|0||1|0");
  EXPECT_EQ(calls(2, 2),
            (Lines{"setRemoteDown 0 1 0",
                   "mobile_pushmsg android 0 2 AP\\x20Lobby\\x20is\\x20disconnected. 1",
                   "mobile_pushmsg ios 0 id\\x20one AP\\x20Lobby\\x20is\\x20"
                   "disconnected. 1",
                   "sendmail -oi -t"}));
  EXPECT_TRUE(marked());
  const std::string drop = "drop_ap_client_table: DROP TABLE IF EXISTS `AP_CLIENT`.`AP_001`";
  const std::string look_up = "get_ap_sn_by_mac: SELECT `SN` FROM `AP_INFO`.`ap_list`" + where;
  EXPECT_EQ(
      operations(drop),
      (Lines{drop, look_up,
             "ap_down_record: SELECT `IP`, `Name`, `SN` FROM `AP_INFO`.`ap_list`" + where +
                 " AND `Status`=1 AND (UNIX_TIMESTAMP(`STime`)+80 <= UNIX_TIMESTAMP(NOW()))",
             "ap_down_record: UPDATE `AP_INFO`.`ap_list` set `ETime`=NOW(), `Status`=0, "
             "`IP`='0.0.0.0'" +
                 where,
             times, users, logged("AP Lobby is disconnected."),
             "delete_ap_legal_table: DELETE FROM `AP_CLIENT`.`legal` WHERE `ap`=1 AND "
             "`refer_ap`=0",
             "delete_ap_legal_table_for_refer: DELETE FROM `AP_CLIENT`.`legal` WHERE "
             "`refer_ap`=1",
             "delete_ap_illegal_table: (1/3) DELETE FROM `AP_CLIENT`.`illegal` WHERE "
             "`ap_sn`='1'",
             "delete_ap_illegal_table: (2/3) SELECT `ap_sn`, `mac` FROM `AP_CLIENT`.`illegal` "
             "WHERE FIND_IN_SET('1', `ap_sn`) > 0",
             "delete_ap_illegal_table: (2/3) no matched.",
             "delete_ap_mesh_client: DELETE FROM `AP_CLIENT`.`client`" +
                 std::string(" WHERE `mac`=UPPER('") + kMac + "')"}));

  // A report from a new address says that it is back.
  operations("");
  const pid_t cycle = start_hook({"ap-command", "1", deliver_report(""), "10.0.0.2", kMac});
  EXPECT_TRUE(eventually([] { return told_to_release(); }));
  EXPECT_EQ(finish(cycle), 0);
  EXPECT_EQ(row(), "1|" + kMac + "|Lobby|10.0.0.2|1|0||0|1");
  EXPECT_EQ(calls(3, 2),
            (Lines{"setRemote 0 0 1 0", "setRemote 1 0 1 0",
                   "mobile_pushmsg android 0 2 AP\\x20Lobby\\x20is\\x20connected. 1",
                   "mobile_pushmsg ios 0 id\\x20one AP\\x20Lobby\\x20is\\x20connected. 1",
                   "sendmail -oi -t"}));
  EXPECT_FALSE(marked());
  const std::string check =
      "checkConnectionStatus: SELECT `Status`, `action` FROM `AP_INFO`.`ap_list`" + where;
  const Lines back = operations(check);
  EXPECT_EQ(Lines(back.begin(), back.begin() + 9),
            (Lines{check, look_up,
                   "ap_block_remove:         (1/2 callby:checkConnectionStatus) DELETE FROM "
                   "`AP_CLIENT`.`block` WHERE `refer_ap_sn`=1",
                   "ap_block_remove:         (2/2 callby:checkConnectionStatus) "
                   "/usr/sbin/ap-command 5 127.0.0.1 " +
                       kMac,
                   known,
                   "ap_up_register: UPDATE `AP_INFO`.`ap_list` SET `Status`=1, `IP`='10.0.0.2', "
                   "`STime`=NOW(), `ETime`='0000-00-00 00:00:00', `action`=0, `fw_upgrade`='' " +
                       where,
                   times, users, logged("AP Lobby is connected.")}));
  EXPECT_EQ(log(), (Lines{"AP " + kMac + " is connected.", "AP Lobby is disconnected.",
                          "AP Lobby is connected."}));
}

TEST_F(Lifecycle, OfAnApThatJoinsAgain) {
  write_file("/firmware/image", "");
  struct Case {
    std::string status, firmware, capability, row, update;
    std::size_t log;
  };
  const Case cases[] = {{"1", "", "", "10.0.0.1|1|0|", ", `fw_upgrade`=''", 0},
                        {"1", "/firmware/gone", "[SYSTEM]\nversion=9\n", "10.0.0.1|1|0|",
                         ", `fw_upgrade`='', `wired_max`=0", 0},
                        {"0", "/firmware/image", "no value", "10.0.0.1|0|2|/firmware/image", "", 1},
                        {"1", "/firmware/image", "[SYSTEM]\nethernet_num=" + std::string(1100, '1'),
                         "10.0.0.1|0|2|/firmware/image", "", 1}};
  trace_on(kMac);
  for (const Case& expected : cases) {
    sql("REPLACE INTO AP_INFO.ap_list SET SN=7, Name='', IP='10.0.0.1', action=1, fw_version='2', "
        "MAC='" +
        kMac + "', Status=" + expected.status + ", fw_upgrade='" + expected.firmware + "'");
    if (!expected.capability.empty()) {
      write_file(info(), expected.capability);
    }
    write_file("/database/ap/support/" + kMac + ".update", "");
    EXPECT_EQ(up("10.0.0.1"), 0);
    EXPECT_TRUE(told_to_release());
    EXPECT_EQ(sql_rows("SELECT IP, Status, action, fw_upgrade FROM AP_INFO.ap_list"),
              Lines{expected.row});
    EXPECT_EQ(sql_value("SELECT fw_version FROM AP_INFO.ap_list"), "2") << "for new APs only";
    EXPECT_EQ(trace_of(kMac, "ap_up_register").back(),
              "UPDATE `AP_INFO`.`ap_list` SET `Status`=" + expected.row.substr(9, 1) +
                  ", `STime`=NOW(), `ETime`='0000-00-00 00:00:00', `action`=" +
                  expected.row.substr(11, 1) + expected.update + " WHERE `MAC`=UPPER('" + kMac +
                  "')");
    EXPECT_FALSE(exists(info()));
    EXPECT_EQ(exists("/database/ap/support/" + kMac + ".update"),
              expected.capability.find("version") == std::string::npos);
    EXPECT_EQ(log().size(), expected.log);
  }
  EXPECT_EQ(log(), Lines{"AP  is connected."});
  EXPECT_EQ(controller_calls(), Lines{});
  write_file(info(), "");
  write_file("/database/ap/info/debug", "");
  EXPECT_EQ(up("10.0.0.1"), 0);
  EXPECT_TRUE(exists(info()));
}

TEST_F(Lifecycle, OfAnApWithANameForEveryQuote) {
  configure(
      "[settings]\n92 = 1\n[mail]\nfield1 = a@example.org\nfield3 = one@example.org\n"
      "field4 = two@example.org\n");
  register_ap(1, kMac, "");
  const std::string name = "B\xC3\xBCro \"$(touch /tmp/run)` \\'\r\nBcc: x@example.org";
  sql("UPDATE AP_INFO.ap_list SET Status=0, Name='" + sql_text(name) + "'");
  sql("INSERT INTO AP_USER.app_login VALUES ('\"`touch /tmp/run`$HOME', '; touch /tmp/run')");
  write_file("/var/log/notice/" + kMac, "");
  EXPECT_EQ(up("10.0.0.1"), 0);
  EXPECT_EQ(log(), Lines{"AP " + name + " is connected."});
  const std::string shown =
      "B\\xC3\\xBCro\\x20\"$(touch\\x20/tmp/run)`\\x20\\x5C'\\x0D\\x0ABcc:\\x20x@example.org";
  EXPECT_EQ(calls(1, 1),
            (Lines{"setRemote 0 0 1 0", "setRemote 1 0 1 0",
                   "mobile_pushmsg ;\\x20touch\\x20/tmp/run 0 \"`touch\\x20/tmp/run`$HOME AP\\x20" +
                       shown + "\\x20is\\x20connected. 1",
                   "sendmail -oi -t", "sendmail -oi -t"}));
  EXPECT_TRUE(calls_of("send_logmsg")[0].ends_with("AP\\x20" + shown + "\\x20is\\x20connected."));
  EXPECT_FALSE(exists("/tmp/run"));
  EXPECT_EQ(content("/recorded/mobile_pushmsg.descriptors"), "\n");
  const std::string time = sql_value("SELECT STime FROM AP_INFO.ap_list");
  const std::string to[] = {"one", "two"};
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(
        content("/recorded/sendmail.stdin." + std::to_string(i + 1)),
        "From: a@example.org\r\nTo: " + to[i] +
            "@example.org\r\n"
            "Subject: =?UTF-8?B?QVAgQsO8cm8gIiQodG91Y2ggL3RtcC9ydW4pYCBcJw0KQmNjOiB4QGV4?=\r\n"
            " =?UTF-8?B?YW1wbGUub3JnIGlzIGNvbm5lY3RlZC4=?=\r\n"
            "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: 8bit\r\n\r\nName: " +
            name + "\r\nMAC: " + kMac + "\r\nIP: 10.0.0.1\r\n\r\nConnected: " + time + "\r\n");
  }
}

TEST_F(Lifecycle, TwoJoinsOfANewApAtOnce) {
  for (int round = 0; round < 20; ++round) {
    write_file(info(), "[SYSTEM]\nethernet_num=2\n");
    const pid_t one = start_hook({"ap-up", "10.0.0.1", kMac});
    const pid_t two = start_hook({"ap-up", "10.0.0.1", kMac});
    EXPECT_EQ(finish(one) + finish(two), 0);
    EXPECT_EQ(sql_rows("SELECT Status, wired_max FROM AP_INFO.ap_list"), Lines{"1|2"});
    EXPECT_EQ(log().size(), static_cast<std::size_t>(round + 1)) << "announced once";
    EXPECT_EQ(controller_calls().size(), static_cast<std::size_t>(2 * round + 2));
    sql("DELETE FROM AP_INFO.ap_list");
    std::filesystem::remove(slot_of(kMac));
  }
}

}  // namespace
