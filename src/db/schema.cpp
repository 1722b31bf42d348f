#include "db/schema.h"

SqlName table_name(InfoTable table) {
  return SqlName::exported(AP_INFO_TABLE[static_cast<std::size_t>(table)]);
}

void create_client_table(Connection& db, int sn) {
  db.run(untraced,
         "CREATE TABLE IF NOT EXISTS `%s`.`AP_%03d` ("
         " `mac` CHAR(18) NOT NULL DEFAULT '00:00:00:00:00:00',"
         " `stime` TIMESTAMP NULL DEFAULT CURRENT_TIMESTAMP,"
         " `utime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00',"
         " `ssid` INT UNSIGNED DEFAULT 0,"
         " `aid` INT UNSIGNED DEFAULT 0,"
         " `channel` TINYINT UNSIGNED DEFAULT 0,"
         " `tx_rate` VARCHAR(20) NOT NULL DEFAULT '',"
         " `rx_rate` VARCHAR(20) NOT NULL DEFAULT '',"
         " `rssi` INT DEFAULT 0,"
         " `idle` INT UNSIGNED DEFAULT 0,"
         " `tx_seq` INT UNSIGNED DEFAULT 0,"
         " `rx_seq` INT UNSIGNED DEFAULT 0,"
         " `confirm` TINYINT(1) DEFAULT 1,"
         " PRIMARY KEY(mac), INDEX(rssi, idle), INDEX(confirm)"
         " ) ENGINE=MyISAM ROW_FORMAT=FIXED;",
         AP_CLIENT, sn);
}

void create_poor_client_table(Connection& db, int sn) {
  db.run(untraced,
         "CREATE TABLE IF NOT EXISTS `%s`.`AP_%03d` ("
         " `mac` CHAR(18) NOT NULL DEFAULT '00:00:00:00:00:00',"
         " `band` INT DEFAULT 0,"
         " `ssid` INT UNSIGNED DEFAULT 0,"
         " `rssi` INT DEFAULT 0,"
         " `status` INT DEFAULT 1,"
         " `stime` TIMESTAMP NULL DEFAULT CURRENT_TIMESTAMP,"
         " `utime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00',"
         " `connection_time` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00',"
         " `confirm` TINYINT(1) DEFAULT 1,"
         " PRIMARY KEY(mac), INDEX(confirm)"
         " ) ENGINE=MyISAM ROW_FORMAT=FIXED;",
         AP_POOR_CLIENT, sn);
}
