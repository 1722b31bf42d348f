-- CONNTRACK_LOG_YYYYMMDD: the connection log, one database a day (local time).
-- The procedure AP_INFO.make_connection_log makes the database of a given day:
-- called here for today and tomorrow, and by an event for the days to come. The
-- event also drops old days. This keeps the last 90 besides today,
--
--     UPDATE AP_INFO.connection_log SET days_kept = 90;
--
-- and 0, the initial value, keeps all.
-- How to apply, and what holds in every file: see 10-ap-info.sql.
--
-- The event needs a running event scheduler. This file starts it; to start it
-- with the server, too, the server's configuration needs
--
--     [mariadbd]
--     event_scheduler = ON

SET NAMES latin1;

-- The procedures and the event keep this sql_mode.
SET SESSION sql_mode = '';

-- A table, so that each server of a cluster has the setting, and it stays when
-- this file is applied again.
CREATE TABLE IF NOT EXISTS `AP_INFO`.`connection_log` (
  `days_kept` SMALLINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'days before today whose connection log is kept; 0 all',
  PRIMARY KEY (`days_kept`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='how long the connection log is kept, one row';

INSERT INTO `AP_INFO`.`connection_log` (`days_kept`)
  SELECT 0 FROM DUAL WHERE NOT EXISTS (SELECT 1 FROM `AP_INFO`.`connection_log`);

DELIMITER //

-- Makes the database of day `log_day` and its table, where they are missing.
CREATE OR REPLACE PROCEDURE `AP_INFO`.`make_connection_log` (IN `log_day` DATE)
  MODIFIES SQL DATA
  COMMENT 'makes CONNTRACK_LOG_YYYYMMDD.ap_controller of one day where it is missing'
BEGIN
  DECLARE `log_name` VARCHAR(64) DEFAULT DATE_FORMAT(`log_day`, 'CONNTRACK_LOG_%Y%m%d');

  EXECUTE IMMEDIATE CONCAT(
    'CREATE DATABASE IF NOT EXISTS `', `log_name`, '`',
    ' CHARACTER SET latin1 COLLATE latin1_swedish_ci');

  EXECUTE IMMEDIATE CONCAT(
    'CREATE TABLE IF NOT EXISTS `', `log_name`, '`.`ap_controller` (',
    ' `STime` DATETIME NOT NULL DEFAULT ''0000-00-00 00:00:00''',
    '  COMMENT ''time of the event, local time'',',
    ' `Program` VARCHAR(31) NOT NULL DEFAULT ''''',
    '  COMMENT ''program that wrote the row'',',
    ' `Type` INT NOT NULL DEFAULT 0',
    '  COMMENT ''kind of connection log, 11 is the AP controller'',',
    ' `Msg` TEXT NOT NULL DEFAULT ''''',
    '  COMMENT ''message'',',
    -- The log is read by time. Not unique: one second may hold many events.
    ' KEY `stime` (`STime`)',
    ' ) ENGINE=InnoDB ROW_FORMAT=DYNAMIC',
    ' DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci',
    ' COMMENT=''connection log of the AP controller, one day''');
END//

-- Drops the databases of the days that need not be kept, never of days to come.
CREATE OR REPLACE PROCEDURE `AP_INFO`.`drop_old_connection_logs` ()
  MODIFIES SQL DATA
  COMMENT 'drops each CONNTRACK_LOG_YYYYMMDD that is older than connection_log.days_kept'
BEGIN
  DECLARE `days` INT DEFAULT (SELECT MIN(`days_kept`) FROM `AP_INFO`.`connection_log`);
  DECLARE `oldest` VARCHAR(64)
    DEFAULT DATE_FORMAT(CURRENT_DATE - INTERVAL `days` DAY, 'CONNTRACK_LOG_%Y%m%d');

  IF `days` > 0 THEN
    FOR `log` IN (
      SELECT `SCHEMA_NAME` FROM information_schema.SCHEMATA
        WHERE `SCHEMA_NAME` RLIKE '^CONNTRACK_LOG_[0-9]{8}$' AND `SCHEMA_NAME` < `oldest`)
    DO
      EXECUTE IMMEDIATE CONCAT('DROP DATABASE IF EXISTS `', `log`.`SCHEMA_NAME`, '`');
    END FOR;
  END IF;
END//

DELIMITER ;

CALL `AP_INFO`.`make_connection_log`(CURRENT_DATE);
CALL `AP_INFO`.`make_connection_log`(CURRENT_DATE + INTERVAL 1 DAY);

DELIMITER //

-- Makes today's and tomorrow's database, and drops old ones. Hourly: if it were
-- daily, a gateway that was off at that hour would have no database until the
-- next run, and lose the rows of that day.
BEGIN NOT ATOMIC
  -- A server that was started with its scheduler disabled refuses both statements
  -- (1290, 1577) and gets only the two days above.
  DECLARE EXIT HANDLER FOR 1290, 1577
    SELECT 'event scheduler disabled: only two days of the connection log made' AS `note`;

  SET GLOBAL event_scheduler = ON;
  EXECUTE IMMEDIATE '
    CREATE OR REPLACE EVENT `AP_INFO`.`connection_log_days`
      ON SCHEDULE EVERY 1 HOUR STARTS ''2024-01-01 00:05:00''
      ON COMPLETION PRESERVE
      COMMENT ''makes the connection-log databases of today and tomorrow, and drops old ones''
      DO BEGIN
        CALL `AP_INFO`.`make_connection_log`(CURRENT_DATE);
        CALL `AP_INFO`.`make_connection_log`(CURRENT_DATE + INTERVAL 1 DAY);
        CALL `AP_INFO`.`drop_old_connection_logs`();
      END';
END//

DELIMITER ;
