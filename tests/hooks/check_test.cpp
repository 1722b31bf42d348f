#include <sys/wait.h>

#include <filesystem>
#include <set>

#include "support/appliance.h"

namespace fs = std::filesystem;
using std::chrono::seconds;

namespace {

class Check : public HookTest {};

struct Checked {
  int status;
  std::string output;
};

Checked check(const std::string& options) {
  FILE* pipe = popen(("ap-check " + options + " 2>&1").c_str(), "r");
  Checked checked;
  char buffer[4096];
  std::size_t length = 0;
  while ((length = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
    checked.output.append(buffer, length);
  }
  checked.status = WEXITSTATUS(pclose(pipe));
  return checked;
}

std::string hexadecimal(const std::string& bytes) {
  std::string digits = "x'";
  for (const char byte : bytes) {
    char text[3];
    snprintf(text, sizeof text, "%02x", static_cast<unsigned char>(byte));
    digits += text;
  }
  return digits + "'";
}

/// A list taken from the JSON by the server, which also judges whether it is JSON at all.
std::string json_value(const std::string& json, const std::string& path) {
  return sql_value("SELECT JSON_EXTRACT(CONVERT(" + hexadecimal(json) + " USING utf8mb4), '" +
                   path + "')");
}

/// The names of the findings, sorted.
std::set<std::string> findings() {
  const std::string names = json_value(check("--json").output, "$.findings[*].name");
  std::set<std::string> found;
  for (std::size_t at = names.find('"'); at != std::string::npos;) {
    const std::size_t end = names.find('"', at + 1);
    found.insert(names.substr(at + 1, end - at - 1));
    at = names.find('"', end + 1);
  }
  return found;
}

using Found = std::set<std::string>;

TEST_F(Check, FindsNothingInAHealthyAppliance) {
  write_file("/database/ap/lock/" + kMac, "");
  write_file(slot_of(kMac), "[command]\n");
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report("[00]\n"), kAddress, kOtherMac}), 0);
  const Checked checked = check("--json");
  EXPECT_EQ(checked.status, 0);
  EXPECT_EQ(json_value(checked.output, "$.findings"), "[]") << checked.output;
  EXPECT_EQ(json_value(checked.output, "$.database.user"), "\"root@localhost\"");
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=1");
  EXPECT_EQ(findings(), Found{"flush-each-statement"});
  EXPECT_EQ(check("").status, 0) << "a note is no warning";
  sql("SET GLOBAL innodb_flush_log_at_trx_commit=0");
  EXPECT_EQ(check("--wrong").status, 64);
  EXPECT_EQ(check("--version").output.find("ap-check "), 0U);
}

TEST_F(Check, TellsWhereSettingsComeFrom) {
  configure("[settings]\n79 = 1\n135=1\n91=on\n97=1\n[mail]\nfield3=a@b\xFF\n[Port 1]\nname=e0\n");
  const Checked checked = check("--json");
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(findings(), (Found{"setting-no-number", "setting-unknown", "mac-filter-no-list"}));
  EXPECT_EQ(json_value(checked.output, "$.settings[3]"),
            R"({"section": "settings", "key": "79", "value": "1", )"
            R"("source": "/etc/ap-run/platform.ini", "meaning": "load balancing is on, but )"
            R"(setting 135 = 1 keeps it from working"})");
  EXPECT_EQ(json_value(checked.output, "$.settings[5].source"), "\"default\"");
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
  const Checked checked = check("");
  const Found found = findings();
  fs::rename("/tmp/wum", "/usr/sbin/wum");
  EXPECT_EQ(found, (Found{"command-stuck", "command-unfinished", "directory-missing", "lock-stale",
                          "program-not-executable", "reports-kept", "trace-on"}));
  EXPECT_EQ(checked.status, 2) << checked.output;
  EXPECT_NE(checked.output.find("a\\x0a\"\\xff"), std::string::npos) << checked.output;

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
  EXPECT_NE(check("").output.find("GRANT INSERT, UPDATE, DELETE, CREATE, DROP ON"),
            std::string::npos);
  write_file("/etc/ap-run/database.cnf",
             "[client]\nuser=hook\npassword=wrong\nssl_verify_server_cert\n");
  EXPECT_EQ(findings(), (Found{"database-unreachable", "server-not-verified"}));
  const Checked checked = check("");
  EXPECT_NE(checked.output.find("Access denied"), std::string::npos) << checked.output;
  EXPECT_EQ(checked.status, 2);
  sql("DROP USER hook@localhost");
}

}  // namespace
