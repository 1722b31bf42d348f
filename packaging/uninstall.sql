-- Takes everything of ap-run out of the database: the registry, the SSID profiles, what was heard,
-- all connection logs, the event, the user. There is no way back but a backup. Run it as the
-- server's administrator, when the controller has stopped.

DROP EVENT IF EXISTS `AP_INFO`.`connection_log_days`;

DELIMITER //

BEGIN NOT ATOMIC
  FOR `log` IN (
    SELECT `SCHEMA_NAME` FROM information_schema.SCHEMATA
      WHERE `SCHEMA_NAME` RLIKE '^CONNTRACK_LOG_[0-9]{8}$')
  DO
    EXECUTE IMMEDIATE CONCAT('DROP DATABASE IF EXISTS `', `log`.`SCHEMA_NAME`, '`');
  END FOR;
  FOR `hook` IN (SELECT `Host` FROM mysql.user WHERE `User` = 'ap_run')
  DO
    EXECUTE IMMEDIATE CONCAT('DROP USER `ap_run`@`', `hook`.`Host`, '`');
  END FOR;
END//

DELIMITER ;

DROP DATABASE IF EXISTS `AP_INFO`;
DROP DATABASE IF EXISTS `AP_CLIENT`;
DROP DATABASE IF EXISTS `AP_POOR_CLIENT`;
DROP DATABASE IF EXISTS `AP_USER`;
