-- Brings a schema of version 1, which releases up to 0.2.0 made, to version 2. The
-- files before this one have made what version 2 adds, the setting of how long
-- connection logs are kept; what is left is the version.
-- How to apply, and what versions are: see 10-ap-info.sql.

SET NAMES latin1;
SET SESSION sql_mode = '';

DELIMITER //

BEGIN NOT ATOMIC
  DECLARE `version` INT DEFAULT (
    SELECT REGEXP_SUBSTR(`TABLE_COMMENT`, '(?<=schema version )[0-9]+')
      FROM information_schema.TABLES
      WHERE `TABLE_SCHEMA` = 'AP_INFO' AND `TABLE_NAME` = 'ap_list');
  IF `version` < 2 THEN
    ALTER TABLE `AP_INFO`.`ap_list`
      COMMENT = 'one row per AP ever registered; schema version 2';
  END IF;
END//

DELIMITER ;
