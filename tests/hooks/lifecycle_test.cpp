#include <algorithm>
#include <filesystem>
#include <regex>

#include "db/connection.h"
#include "platform/mail.h"
#include "support/appliance.h"

namespace {

class Lifecycle : public HookTest {
 protected:
  static int up(const std::string& ip) { return run_hook({"ap-up", ip, kMac}); }

  /// Everything that the events since the last call left, a line each: the AP's row, what waits
  /// for it and about it, calls, trace. The AP's MAC is M, the day TODAY.
  static std::string story() {
    wait_for_helpers();
    std::string text;
    const auto add = [&](const std::string& head, const Lines& lines) {
      for (const std::string& line : lines) {
        text += head + line + "\n";
      }
    };
    add("row ", sql_rows("SELECT SN, MAC, Name, IP, Status, action, ETime > 0, STime > NOW() - "
                         "INTERVAL 20 SECOND FROM AP_INFO.ap_list"));
    for (const char* place : {"/var/log/notice", "/database/ap/support", "/database/ap/info"}) {
      add(std::string(place) + " ", names_in(place));
    }
    add("", lines_of(without_time(content(slot_of(kMac)))));
    add("", controller_calls());
    for (const char* helper : {"mobile_pushmsg", "sendmail"}) {
      Lines calls = calls_of(helper);
      std::sort(calls.begin(), calls.end());  // background
      add(std::string(helper) + " ", calls);
      std::filesystem::remove(std::string("/recorded/") + helper);
    }
    for (const std::string& line : trace_of(kMac)) {
      static const std::regex kOurs("(ap_(up|down|block|notice|push|conn)|check|delete|drop).*");
      if (std::regex_match(line, kOurs)) {
        add("", {line});
      }
    }
    std::filesystem::remove("/var/log/ap-run/controller.log");
    std::filesystem::remove(slot_of(kMac));
    trace_on(kMac);
    text = std::regex_replace(text, std::regex(kMac), "M");
    return std::regex_replace(text, std::regex("_[0-9]{8}`"), "_TODAY`");
  }
  static Lines log() {
    const std::string today = sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')");
    return sql_rows("SELECT Msg FROM CONNTRACK_LOG_" + today + ".ap_controller");
  }
};

TEST_F(Lifecycle, OfOneAp) {
  configure(
      "[settings]\n92 = 1\n[controller]\ndefault_profile_sn = 1,2\ndefault_ap_wired = 3\n"
      "[mail]\nfield3 = one@example.org\n");
  sql("INSERT INTO AP_USER.app_login VALUES ('id one', 'ios'), ('2', 'android')");
  trace_on(kMac);
  write_file("/database/ap/info/" + kMac, "[SYSTEM]\nversion=2.1\nethernet_num=2\nwget_update=1\n");
  EXPECT_EQ(up("10.0.0.1"), 0);
  std::string life = "It joins.\n" + story();

  sql("UPDATE AP_INFO.ap_list SET STime=NOW() - INTERVAL 30 SECOND, Name='Lobby'");
  sql("CREATE TABLE AP_CLIENT.AP_001 (mac INT)");
  sql("INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac) VALUES (1,0,'A'), (1,9,'A'), (2,1,'B')");
  sql("INSERT INTO AP_CLIENT.illegal (ap_sn, mac) VALUES ('1', 'A'), ('3,1,12', 'B'), ('12', 'C')");
  sql("INSERT INTO AP_CLIENT.client (mac) VALUES ('" + kMac + "')");
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  EXPECT_EQ(sql_rows("SHOW TABLES FROM AP_CLIENT LIKE 'AP\\_%'"), Lines{});
  EXPECT_EQ(sql_rows("SELECT ap, refer_ap FROM AP_CLIENT.legal"), Lines{"1|9"});
  EXPECT_EQ(sql_rows("SELECT ap_sn FROM AP_CLIENT.illegal ORDER BY mac"), (Lines{"3,12", "12"}));
  EXPECT_EQ(sql_rows("SELECT mac FROM AP_CLIENT.client"), Lines{});
  life += "\nIt leaves after 30 seconds.\n" + story();

  sql("UPDATE AP_INFO.ap_list SET STime=NOW() - INTERVAL 80 SECOND");
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  life += "\nIt leaves after 80 seconds.\n" + story();

  kit::Child cycle = start_hook({"ap-command", "1", deliver_report("-"), "10.0.0.2", kMac});
  EXPECT_TRUE(eventually([] { return exists(slot_of(kMac)); }));
  std::filesystem::rename(slot_of(kMac), "/database/ap/fetched");
  EXPECT_EQ(cycle.finish().status, 0);
  std::filesystem::rename("/database/ap/fetched", slot_of(kMac));
  life += "\nIt reports from a new address.\n" + story();
  EXPECT_EQ(life, content("/source/tests/hooks/one-life.txt"));
}

TEST_F(Lifecycle, OfAnApThatJoinsAgain) {
  write_file("/firmware/image", "");
  write_file("/database/ap/support/" + kMac + ".update", "");
  trace_on(kMac);
  const std::string files[] = {"[SYSTEM]\nethernet_num=" + std::string(1100, '1'), "no value",
                               "[SYSTEM]\nethernet_num=1;\nversion=9\n"};
  struct Case {
    std::string status, firmware, file, row, update;
  };
  const Case cases[] = {
      {"1", "", files[0], "1|0|", "`Status`=1, ... `action`=0, `fw_upgrade`='' WHERE"},
      {"0", "/firmware/image", files[1], "0|2|/firmware/image", "`Status`=0, ... `action`=2 WHERE"},
      {"1", "/firmware/gone", files[2], "1|0|",
       "`Status`=1, ... `action`=0, `fw_upgrade`='', `wired_max`=1 WHERE"}};
  for (const Case& expected : cases) {
    sql("REPLACE INTO AP_INFO.ap_list SET SN=7, Name='', IP='10.0.0.1', action=1, fw_version='2', "
        "MAC='" +
        kMac + "', Status=" + expected.status + ", fw_upgrade='" + expected.firmware + "'");
    write_file("/database/ap/info/" + kMac, expected.file);
    EXPECT_EQ(up("10.0.0.1"), 0);
    EXPECT_EQ(sql_rows("SELECT Status, action, fw_upgrade FROM AP_INFO.ap_list"),
              Lines{expected.row});
    EXPECT_EQ(sql_value("SELECT fw_version FROM AP_INFO.ap_list"), "2") << "for new APs only";
    const std::string told = std::regex_replace(
        story(), std::regex("`STime`=NOW\\(\\), `ETime`='0000-00-00 00:00:00',"), "...");
    EXPECT_NE(told.find("\n[command]\ntype=5\ntime=T\nap_block"), std::string::npos) << told;
    EXPECT_NE(told.find(expected.update), std::string::npos) << told;
    EXPECT_EQ(told.find("M.update") == std::string::npos, expected.file == files[2]) << told;
    EXPECT_EQ(told.find("ap/info"), std::string::npos) << told;
  }
  EXPECT_EQ(log(), Lines{"AP  is connected."});
}

TEST_F(Lifecycle, OfAnApWithANameForEveryQuote) {
  configure(
      "[settings]\n92 = 1\n[mail]\nfield1 = a@example.org\nfield3 = one@example.org\n"
      "field4 = two@example.org\n");
  register_ap(1, kMac, "");
  const std::string name = "B\xC3\xBCro \"$(touch /tmp/run)` \\'\r\nBcc: x@example.org";
  sql("UPDATE AP_INFO.ap_list SET Status=0, Name='" + SqlText::escaped_or_empty(name).text() + "'");
  sql("INSERT INTO AP_USER.app_login VALUES ('\"`touch /tmp/run`$HOME', '; touch /tmp/run')");
  write_file("/var/log/notice/" + kMac, "");
  EXPECT_EQ(up("10.0.0.1"), 0);
  wait_for_helpers();
  EXPECT_EQ(log(), Lines{"AP " + name + " is connected."});
  const std::string message =
      R"(AP\x20B\xC3\xBCro\x20"$(touch\x20/tmp/run)`\x20\x5C'\x0D\x0ABcc:\x20x@example.org\x20is\x20connected.)";
  EXPECT_EQ(calls_of("mobile_pushmsg"),
            Lines{R"(;\x20touch\x20/tmp/run 0 "`touch\x20/tmp/run`$HOME )" + message + " 1"});
  EXPECT_TRUE(calls_of("send_logmsg")[0].ends_with("]\\x20" + message));
  EXPECT_FALSE(exists("/tmp/run"));
  EXPECT_EQ(content("/recorded/mobile_pushmsg.descriptors"), "\n");
  const std::string head = R"(@example.org
Subject: =?UTF-8?B?QVAgQsO8cm8gIiQodG91Y2ggL3RtcC9ydW4pYCBcJw0KQmNj?=
 =?UTF-8?B?OiB4QGV4YW1wbGUub3JnIGlzIGNvbm5lY3RlZC4=?=
MIME-Version: 1.0
Content-Type: text/plain; charset=UTF-8
Content-Transfer-Encoding: 8bit

)";
  const std::string body =
      "Name: " + std::regex_replace(name, std::regex("\r"), "") + "\nMAC: " + kMac +
      "\nIP: 10.0.0.1\n\nConnected: " + sql_value("SELECT STime FROM AP_INFO.ap_list") + "\n";
  const auto sent_to = [&](const std::string& to) {
    return "From: a@example.org\nTo: " + to + head + body;
  };
  EXPECT_EQ(content("/recorded/sendmail.stdin.1"), sent_to("one"));
  EXPECT_EQ(content("/recorded/sendmail.stdin.2"), sent_to("two"));

  for (const std::string end : {"\r\n", "\n", "\r"}) {
    const std::string bad = "a@example.org" + end + "Bcc: x@example.org";
    std::filesystem::remove("/recorded/sendmail.stdin.1");
    EXPECT_EQ(my_buildMailAndSend(0, bad, bad, 0, "", "", 0, 0, {}, {}, ""), 0);
    EXPECT_EQ(content("/recorded/sendmail.stdin.1").find("Bcc"), std::string::npos);
    EXPECT_TRUE(content("/recorded/sendmail.stdin.1").starts_with("From: a@example.org\nTo: a@"));
  }
}

TEST_F(Lifecycle, TwoJoinsOfANewApAtOnce) {
  const std::string file = "[SYSTEM]\nethernet_num=2\nversion=3\n";
  for (std::size_t round = 1; round <= 5; ++round) {
    write_file("/database/ap/info/" + kMac, file);
    kit::Child one = start_hook({"ap-up", "10.0.0.1", kMac});
    kit::Child two = start_hook({"ap-up", "10.0.0.1", kMac});
    EXPECT_EQ(one.finish().status + two.finish().status, 0);
    EXPECT_EQ(sql_rows("SELECT Status, wired_max FROM AP_INFO.ap_list"), Lines{"1|2"});
    EXPECT_EQ(log().size(), round) << "announced once";
    EXPECT_EQ(controller_calls().size(), 2 * round);
    sql("DELETE FROM AP_INFO.ap_list");
    std::filesystem::remove(slot_of(kMac));
  }

  // The one that makes the row knows nothing of the AP.
  sql(M("CREATE TRIGGER AP_INFO.slow BEFORE INSERT ON AP_INFO.ap_list FOR EACH ROW DO SLEEP(%s)",
        has_namespaces() ? "0.5" : "3"));
  kit::Child first = start_hook({"ap-up", "10.0.0.1", kMac});
  EXPECT_TRUE(eventually([] {
    return sql_value(
               "SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE "
               "STATE='User sleep'") == "1";
  }));
  write_file("/database/ap/info/" + kMac, file);
  EXPECT_EQ(run_hook({"ap-up", "10.0.0.1", kMac}) + first.finish().status, 0);
  sql("DROP TRIGGER AP_INFO.slow");
  EXPECT_EQ(sql_rows("SELECT Status, wired_max, fw_version FROM AP_INFO.ap_list"), Lines{"1|2|3"});
}

}  // namespace
