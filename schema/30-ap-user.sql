-- AP_USER: who gets notices about APs (app_login), and names of client devices
-- (client_name). The controller maintains both; the program only reads them.
-- How to apply, and what holds in every file: see 10-ap-info.sql.

SET NAMES latin1;
SET SESSION sql_mode = '';

CREATE DATABASE IF NOT EXISTS `AP_USER`
  CHARACTER SET latin1 COLLATE latin1_swedish_ci;

-- No key: the table is always read whole.
CREATE TABLE IF NOT EXISTS `AP_USER`.`app_login` (
  `ID` VARCHAR(255) COLLATE latin1_nopad_bin NOT NULL DEFAULT ''
    COMMENT 'identifier of the push recipient, handed to the push command',
  `TYPE` VARCHAR(31) NOT NULL DEFAULT ''
    COMMENT 'kind of the push recipient, handed to the push command'
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='mobile users who get push messages';

CREATE TABLE IF NOT EXISTS `AP_USER`.`client_name` (
  `MAC` CHAR(17) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'MAC address of the client device, upper case',
  `Name` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'readable name of the client device',
  -- Looked up once for each client that is logged; a device has one name.
  PRIMARY KEY (`MAC`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='readable names of client devices';
