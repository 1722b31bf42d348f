#include <algorithm>

#include "support/appliance.h"

namespace {

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

}  // namespace
