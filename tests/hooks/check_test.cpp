#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/appliance.h"

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::seconds;

namespace {

/// Lines of [settings] that a new appliance needs.
constexpr const char* kPriorities = "121 = 134\n126 = 134\n";

class Check : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    configure("[settings]\n" + std::string(kPriorities));
  }
};

kit::Output check(Words words) {
  words.insert(words.begin(), "ap-check");
  return kit::output_of(words);
}

TEST_F(Check, FindsNothingInAHealthyAppliance) {
  write_file("/database/ap/lock/" + kMac, "");
  write_file(slot_of(kMac), "[command]\n");
  configure("[settings]\n113 = 1\n121 = 134\n126 = 0\n");
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report("[00]\n"), kAddress, kOtherMac}), 0);
  const kit::Output checked = check({"--json"});
  EXPECT_EQ(checked.status, 0);
  const json report = json::parse(checked.text);
  EXPECT_EQ(report["findings"], json::array());
  EXPECT_EQ(report["database"]["user"], "root@localhost");
  EXPECT_EQ(names_in("/database/ap/command").size(), 2U) << "what it tries is taken away";
  EXPECT_NE(check({}).text.find(": all is well\n"), std::string::npos);
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=1");
  configure("");
  EXPECT_EQ(findings(), (Found{"flush-each-statement", "log-priority-unset"}));
  const kit::Output noted = check({});
  EXPECT_EQ(noted.status, 0) << "a note is no warning";
  EXPECT_NE(noted.text.find(": all is well, 2 notes\n"), std::string::npos) << noted.text;
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=0");
  const kit::Output refused = check({"--wrong"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.text.find('\n'), refused.text.size() - 1) << refused.text;
  EXPECT_EQ(check({"--version"}).text.find("ap-check "), 0U);
}

TEST_F(Check, TellsWhereSettingsComeFrom) {
  configure("[settings]\n79=1\n135=1\n91=on\n97=1\n" + std::string(kPriorities) +
            "[mail]\nfield3=a@b\xFF\n[Port 1]\nname=e0\n");
  const kit::Output checked = check({"--json"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(findings(), (Found{"setting-no-number", "setting-unknown", "mac-filter-no-list"}));
  const json settings = json::parse(checked.text)["settings"];
  EXPECT_EQ(settings[3], (json{{"section", "settings"},
                               {"key", "79"},
                               {"value", "1"},
                               {"source", "/etc/ap-run/platform.ini"},
                               {"meaning",
                                "load balancing is on, but setting 135 = 1 keeps it from "
                                "working"}}));
  EXPECT_EQ(settings[5]["source"], "default");
  configure("[settings]\n79 = 1\nno equals sign\n");
  EXPECT_EQ(findings(), (Found{"log-priority-unset", "settings-syntax"}));
  configure("[settings]\n92 = 1\n" + std::string(kPriorities));
  EXPECT_EQ(findings(), Found{"mail-no-recipient"});
}

TEST_F(Check, NamesWhatIsWrongWithFiles) {
  trace_on("a\n\"\xFF");
  write_file("/database/ap/radar/debug", "");
  write_file("/database/ap/command/.77", "");
  for (const std::string& file :
       {slot_of(kMac), std::string("/database/ap/command/.77"), "/database/ap/lock/" + kMac}) {
    write_file(file, "");
    set_age(file, seconds(600));
  }
  fs::remove("/var/log/notice");
  fs::rename("/usr/sbin/wum", "/tmp/wum");
  write_file("/usr/sbin/wum", "");
  const kit::Output checked = check({});
  const Found found = findings();
  fs::rename("/tmp/wum", "/usr/sbin/wum");
  EXPECT_EQ(found, (Found{"command-stuck", "command-unfinished", "directory-missing", "lock-stale",
                          "program-not-executable", "reports-kept", "trace-on"}));
  EXPECT_EQ(checked.status, 2) << checked.text;
  EXPECT_NE(checked.text.find("a\\x0a\"\\xff"), std::string::npos) << checked.text;

  set_age(slot_of(kMac), seconds(50));
  set_age("/database/ap/lock/" + kMac, seconds(590));
  EXPECT_EQ(findings().count("command-stuck") + findings().count("lock-stale"), 0U);
}

TEST_F(Check, KnowsHelpersThatAreAbsentByDesign) {
  fs::rename("/usr/sbin/wum", "/tmp/wum");
  write_file("/recorded/iptables.behaviour", "exit 1\n");
  const Found found = findings();
  configure("[check]\nabsent = wum, iptables,ap-up send_logmsg\n[settings]\n126 = 134\n113 = 1\n");
  const Found declared = findings();
  fs::remove("/recorded/iptables.behaviour");
  fs::rename("/tmp/wum", "/usr/sbin/wum");
  EXPECT_EQ(found, (Found{"firewall-chain-missing", "program-missing"}));
  EXPECT_EQ(declared, Found{"setting-unknown"}) << "the program itself is no helper";
  configure("[check]\nabsent = send_logmsg\n[settings]\n113 = 1\n");
  EXPECT_EQ(findings(), Found{"log-priority-unset"}) << "126 is the system log's";
}

TEST_F(Check, TriesToWriteACommand) {
  NEEDS_NAMESPACES("nothing can be mounted");
  const auto with_file_system = [](const std::string& type, const std::string& fill) {
    const std::string command = "/database/ap/command";
    EXPECT_EQ(kit::run({"mount", "-t", "tmpfs", "-o", type, "commands", command}).status, 0);
    write_file(command + "/fill", fill);
    Found full = findings();
    EXPECT_EQ(kit::run({"umount", command}).status, 0);
    return full;
  };
  EXPECT_EQ(with_file_system("size=64k", std::string(65536, '.')), Found{"command-refused"});
  EXPECT_EQ(with_file_system("nr_inodes=2", ""), Found{"command-refused"});
  EXPECT_EQ(with_file_system("size=7m", ""), Found{"disk-low"});
  EXPECT_EQ(with_file_system("nr_inodes=1999", ""), Found{"disk-low"});
  EXPECT_EQ(with_file_system("size=9m", ""), Found{});
}

TEST_F(Check, NamesWhatIsWrongWithTheDatabase) {
  sql("ALTER TABLE AP_CLIENT.block DROP PRIMARY KEY, DROP rssi");
  sql("CREATE TABLE AP_CLIENT.AP_001 (mac CHAR(18) PRIMARY KEY)");
  sql("RENAME TABLE AP_USER.client_name TO AP_USER.away");
  sql("ALTER TABLE AP_CLIENT.illegal MODIFY ap_sn VARCHAR(20) NOT NULL DEFAULT ''");
  sql("SET GLOBAL event_scheduler=OFF, GLOBAL read_only=ON");
  const Found found = findings();
  sql("SET GLOBAL event_scheduler=ON, GLOBAL read_only=OFF");
  sql("RENAME TABLE AP_USER.away TO AP_USER.client_name");
  sql("ALTER TABLE AP_CLIENT.block ADD PRIMARY KEY (mac), ADD rssi INT NOT NULL DEFAULT 0 AFTER "
      "rx_rate");
  sql("ALTER TABLE AP_CLIENT.illegal MODIFY ap_sn VARCHAR(8000) NOT NULL DEFAULT ''");
  EXPECT_EQ(found, (Found{"column-missing", "column-narrow", "key-missing", "scheduler-off",
                          "server-read-only", "table-missing"}));

  sql("DROP TABLE AP_CLIENT.AP_001");
  disconnect_database();
  kit::run({"lab-db-stop"});
  kit::run({"lab-db-start", "--log-bin", "--server-id=1", "--binlog-format=STATEMENT"});
  EXPECT_EQ(findings(), Found{"binlog-format"});
  EXPECT_EQ(run_hook({"ap-up", kAddress, kMac}), 0);
  EXPECT_NE(content("/recorded/syslog").find("1665"), std::string::npos) << "it says so itself";
  disconnect_database();
  kit::run({"lab-db-stop"});
  kit::run({"sh", "-c", "ulimit -n 1024 && exec lab-db-start --max-connections=30"});
  sql("INSERT INTO AP_INFO.ap_list (MAC) SELECT seq FROM AP_INFO.seq_1_to_300");
  EXPECT_EQ(findings(), Found{}) << "by itself the server keeps within its limit";
  sql("INSERT INTO AP_INFO.ap_list (MAC) VALUES ('one more')");
  sql("SET GLOBAL table_open_cache=500");
  EXPECT_EQ(findings(), (Found{"connections-few", "files-few"}));
  sql("DELETE FROM AP_INFO.ap_list");
  disconnect_database();
  kit::run({"lab-db-stop"});
  kit::run({"lab-db-start"});
}

TEST_F(Check, NamesAMissingRightAndAMissingServer) {
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=hook\npassword=secret\n");
  fs::permissions("/etc/ap-run/database.cnf", fs::perms(0640));
  sql("CREATE OR REPLACE USER hook@localhost IDENTIFIED BY 'secret'");
  for (const char* database : {"AP_INFO", "AP_CLIENT", "AP_USER", "`CONNTRACK\\_LOG\\_%`"}) {
    sql("GRANT ALL ON " + std::string(database) + ".* TO hook@localhost");
  }
  sql("GRANT SELECT ON AP_POOR_CLIENT.* TO hook@localhost");
  sql("REVOKE EVENT ON AP_INFO.* FROM hook@localhost");
  EXPECT_EQ(findings(), Found{"right-missing"}) << "tomorrow's log shows that there is an event";
  sql("DROP DATABASE " + sql_value("SELECT DATE_FORMAT(NOW() + INTERVAL 1 DAY, "
                                   "'CONNTRACK_LOG_%Y%m%d')"));
  EXPECT_EQ(findings(), (Found{"event-unseen", "log-missing", "right-missing"}));
  sql("CALL AP_INFO.make_connection_log(CURRENT_DATE + INTERVAL 1 DAY)");
  EXPECT_NE(check({}).text.find("GRANT INSERT, UPDATE, CREATE, DROP ON"), std::string::npos);
  write_file("/etc/ap-run/database.cnf", "# [client]\n[mysqldump]\nuser=hook\npassword=wrong\n");
  EXPECT_EQ(findings(), Found{"option-file-unread"});
  write_file("/etc/ap-run/database.cnf",
             "[client]\nuser=hook\npassword=wrong\nssl_verify_server_cert\n");
  EXPECT_EQ(findings(), (Found{"database-unreachable", "server-not-verified"}));
  const kit::Output checked = check({});
  EXPECT_NE(checked.text.find("Access denied"), std::string::npos) << checked.text;
  EXPECT_EQ(checked.status, 2);
  sql("DROP USER hook@localhost");
}

}  // namespace
