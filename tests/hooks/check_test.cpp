#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "support/appliance.h"

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::seconds;

namespace {

class Check : public HookTest {};

kit::Output check(Words words) {
  words.insert(words.begin(), "ap-check");
  return kit::output_of(words);
}

using Found = std::set<std::string>;

/// The names of the findings.
Found findings() {
  Found found;
  const json report = json::parse(check({"--json"}).text);
  for (const json& finding : report["findings"]) {
    found.insert(finding["name"]);
  }
  return found;
}

TEST_F(Check, FindsNothingInAHealthyAppliance) {
  write_file("/database/ap/lock/" + kMac, "");
  write_file(slot_of(kMac), "[command]\n");
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report("[00]\n"), kAddress, kOtherMac}), 0);
  const kit::Output checked = check({"--json"});
  EXPECT_EQ(checked.status, 0);
  const json report = json::parse(checked.text);
  EXPECT_EQ(report["findings"], json::array());
  EXPECT_EQ(report["database"]["user"], "root@localhost");
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=1");
  EXPECT_EQ(findings(), Found{"flush-each-statement"});
  EXPECT_EQ(check({}).status, 0) << "a note is no warning";
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=0");
  const kit::Output refused = check({"--wrong"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.text.find('\n'), refused.text.size() - 1) << refused.text;
  EXPECT_EQ(check({"--version"}).text.find("ap-check "), 0U);
}

TEST_F(Check, TellsWhereSettingsComeFrom) {
  configure("[settings]\n79 = 1\n135=1\n91=on\n97=1\n[mail]\nfield3=a@b\xFF\n[Port 1]\nname=e0\n");
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
  EXPECT_EQ(findings(), Found{"settings-syntax"});
  configure("[settings]\n92 = 1\n");
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

TEST_F(Check, NamesWhatIsWrongWithTheDatabase) {
  sql("ALTER TABLE AP_CLIENT.block DROP PRIMARY KEY, DROP rssi");
  sql("CREATE TABLE AP_CLIENT.AP_001 (mac CHAR(18) PRIMARY KEY)");
  sql("RENAME TABLE AP_USER.client_name TO AP_USER.away");
  sql("SET GLOBAL event_scheduler=OFF, GLOBAL read_only=ON");
  const Found found = findings();
  sql("SET GLOBAL event_scheduler=ON, GLOBAL read_only=OFF");
  sql("RENAME TABLE AP_USER.away TO AP_USER.client_name");
  sql("ALTER TABLE AP_CLIENT.block ADD PRIMARY KEY (mac), ADD rssi INT NOT NULL DEFAULT 0 AFTER "
      "rx_rate");
  EXPECT_EQ(found, (Found{"column-missing", "key-missing", "scheduler-off", "server-read-only",
                          "table-missing"}));
}

TEST_F(Check, NamesAMissingRightAndAMissingServer) {
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=hook\npassword=secret\n");
  fs::permissions("/etc/ap-run/database.cnf", fs::perms(0640));
  sql("CREATE OR REPLACE USER hook@localhost IDENTIFIED BY 'secret'");
  for (const char* database : {"AP_INFO", "AP_CLIENT", "AP_USER", "`CONNTRACK\\_LOG\\_%`"}) {
    sql("GRANT ALL ON " + std::string(database) + ".* TO hook@localhost");
  }
  sql("GRANT SELECT ON AP_POOR_CLIENT.* TO hook@localhost");
  EXPECT_EQ(findings(), Found{"right-missing"});
  EXPECT_NE(check({}).text.find("GRANT INSERT, UPDATE, CREATE, DROP ON"), std::string::npos);
  write_file("/etc/ap-run/database.cnf",
             "[client]\nuser=hook\npassword=wrong\nssl_verify_server_cert\n");
  EXPECT_EQ(findings(), (Found{"database-unreachable", "server-not-verified"}));
  const kit::Output checked = check({});
  EXPECT_NE(checked.text.find("Access denied"), std::string::npos) << checked.text;
  EXPECT_EQ(checked.status, 2);
  sql("DROP USER hook@localhost");
}

}  // namespace
