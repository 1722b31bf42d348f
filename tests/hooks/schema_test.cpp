#include <algorithm>
#include <filesystem>
#include <thread>

#include "support/appliance.h"

namespace {

/// What the shipped files make, apart from comments.
Lines definitions() {
  Lines all;
  for (
      const char* statement :
      {"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, COLUMN_DEFAULT, COLUMN_TYPE, COLLATION_NAME, "
       "IS_NULLABLE, EXTRA FROM information_schema.COLUMNS WHERE TABLE_SCHEMA LIKE 'AP\\_%' "
       "ORDER BY 1, 2, ORDINAL_POSITION",
       "SELECT TABLE_SCHEMA, TABLE_NAME, INDEX_NAME, SEQ_IN_INDEX, COLUMN_NAME, SUB_PART, "
       "NON_UNIQUE FROM information_schema.STATISTICS WHERE TABLE_SCHEMA LIKE 'AP\\_%' ORDER BY "
       "1, 2, 3, 4",
       "SELECT TABLE_SCHEMA, TABLE_NAME, ENGINE, ROW_FORMAT, TABLE_COLLATION FROM "
       "information_schema.TABLES WHERE TABLE_SCHEMA LIKE 'AP\\_%' ORDER BY 1, 2",
       "SELECT TABLE_COMMENT FROM information_schema.TABLES WHERE TABLE_NAME='ap_list'",
       "SELECT ROUTINE_NAME, ROUTINE_DEFINITION, SQL_MODE FROM information_schema.ROUTINES "
       "WHERE ROUTINE_SCHEMA='AP_INFO' ORDER BY 1",
       "SELECT EVENT_NAME, EVENT_DEFINITION, STATUS FROM information_schema.EVENTS"}) {
    const Lines rows = sql_rows(statement);
    all.insert(all.end(), rows.begin(), rows.end());
  }
  return all;
}

void apply(const std::string& files) {
  const kit::Output output =
      kit::output_of({"bash", "-c", "for f in " + files + "; do mariadb <$f || exit; done"});
  EXPECT_EQ(output.status, 0) << output.text;
}

/// Names of databases that begin so.
Lines databases(const std::string& prefix) {
  return sql_rows("SELECT SCHEMA_NAME FROM information_schema.SCHEMATA WHERE SCHEMA_NAME LIKE '" +
                  prefix + "%' ORDER BY 1");
}

class Schema : public HookTest {};

TEST_F(Schema, TheFirstVersionIsBroughtUpToDateAndKeepsItsRows) {
  const Lines fresh = definitions();
  for (const std::string& database : databases("AP\\_")) {
    sql("DROP DATABASE " + database);
  }
  apply("/source/tests/hooks/schema-1.sql");
  EXPECT_NE(definitions(), fresh);
  register_ap(7, kMac, "lobby");
  sql("INSERT INTO AP_CLIENT.block (mac, refer_ap_sn) VALUES ('A', 7)");
  sql("CREATE TABLE AP_CLIENT.old_AP_007 SELECT 7 AS n");
  const auto rows = [] {
    return sql_rows("SELECT * FROM AP_INFO.ap_list JOIN AP_CLIENT.block JOIN AP_CLIENT.old_AP_007");
  };
  const Lines before = rows();
  configure("[settings]\n121 = 134\n126 = 134\n");
  EXPECT_EQ(findings(), Found{"schema-old"});

  apply("/source/schema/*.sql");
  EXPECT_EQ(before.size(), 1U);
  EXPECT_EQ(rows(), before);
  sql("DROP TABLE AP_CLIENT.old_AP_007");
  EXPECT_EQ(definitions(), fresh);
  EXPECT_EQ(findings(), Found{});

  sql("UPDATE AP_INFO.connection_log SET days_kept=30");
  sql("ALTER TABLE AP_INFO.ap_list COMMENT='schema version 3'");
  apply("/source/schema/*.sql");
  EXPECT_EQ(sql_rows("SELECT * FROM AP_INFO.connection_log"), Lines{"30"});
  EXPECT_EQ(findings(), Found{"schema-newer"});
  sql("UPDATE AP_INFO.connection_log SET days_kept=0");
  sql("ALTER TABLE AP_INFO.ap_list COMMENT='one row per AP ever registered; schema version 2'");
  EXPECT_EQ(definitions(), fresh);
}

TEST_F(Schema, TheEventDropsOldConnectionLogsIfAskedTo) {
  const auto day = [](int days) {
    return sql_value("SELECT DATE_FORMAT(CURRENT_DATE + INTERVAL " + std::to_string(days) +
                     " DAY, 'CONNTRACK_LOG_%Y%m%d')");
  };
  const std::string tomorrow = day(1);
  const Lines others{"CONNTRACK_LOG_202001011", "CONNTRACK_LOG_old"};
  for (const std::string& name :
       {std::string("CONNTRACK_LOG_20200101"), day(-3), day(-2), day(-1), others[0], others[1]}) {
    sql("CREATE DATABASE " + name);
  }
  const Lines all = databases("CONNTRACK");
  sql("ALTER EVENT AP_INFO.connection_log_days ON SCHEDULE EVERY 1 SECOND");
  for (int round = 0; round < 2; ++round) {  // when the second run has begun, the first is over
    sql("DROP DATABASE " + tomorrow);
    EXPECT_TRUE(eventually([&] { return databases(tomorrow).size() == 1; }));
  }
  EXPECT_EQ(databases("CONNTRACK"), all);

  sql("UPDATE AP_INFO.connection_log SET days_kept=2");
  Lines kept{day(-2), day(-1), day(0), tomorrow, others[0], others[1]};
  std::sort(kept.begin(), kept.end());
  eventually([&] { return databases("CONNTRACK") == kept; });
  EXPECT_EQ(databases("CONNTRACK"), kept);

  sql("UPDATE AP_INFO.connection_log SET days_kept=0");
  apply("/source/schema/40-connection-log.sql");
  for (const std::string& name : {day(-2), day(-1), others[0], others[1]}) {
    sql("DROP DATABASE " + name);
  }
}

TEST_F(Schema, TheShippedUserSufficesAndNothingIsLeftOfBoth) {
  apply("/source/packaging/user.sql");
  sql("ALTER USER ap_run@localhost IDENTIFIED BY 'secret' ACCOUNT UNLOCK");
  write_file("/etc/ap-run/database.cnf", "[ap-run]\nuser=ap_run\npassword=secret\n");
  std::filesystem::permissions("/etc/ap-run/database.cnf", std::filesystem::perms(0640));
  configure("[settings]\n113=1\n30=::1\n121=134\n126=134\n");
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'Office')");
  register_ap(1, kMac, "lobby");
  EXPECT_EQ(run_hook({"ap-up", kAddress, kOtherMac}), 0);
  const std::string report = deliver_report(
      "[01]\nAddress=a\nESSID=Office\n[Cell 01]\nAddress=b\n[01 client 01]\nADDR=c\n"
      "[01 client MESH 01]\nADDR=d\nRSSI=2\n[POOR_CLIENT 01]\nADDR=e\n");
  {
    const std::jthread controller([](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        std::filesystem::remove(slot_of(kMac));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
    });
    EXPECT_EQ(run_hook({"ap-command", "1", report, kAddress, kMac}), 0);
  }
  EXPECT_EQ(sql("SELECT * FROM AP_CLIENT.AP_001, AP_POOR_CLIENT.AP_001, AP_CLIENT.client, "
                "AP_CLIENT.legal, AP_CLIENT.illegal")
                .size(),
            1U);
  std::filesystem::remove(slot_of(kMac));
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  EXPECT_EQ(content("/recorded/syslog"), "") << "nothing is refused";
  EXPECT_EQ(findings(), Found{});

  apply("/source/packaging/uninstall.sql");
  EXPECT_EQ(databases("AP\\_"), Lines{});
  EXPECT_EQ(databases("CONNTRACK"), Lines{});
  EXPECT_EQ(sql_rows("SELECT * FROM mysql.db WHERE User='ap_run'"), Lines{});
  apply("/source/packaging/uninstall.sql");
  apply("/source/schema/*.sql");
}

}  // namespace
