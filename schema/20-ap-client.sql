-- AP_CLIENT: what the APs hear (legal, illegal), which stations they refuse
-- (block) and how they are meshed (client). AP_POOR_CLIENT: empty at first.
-- How to apply, and what holds in every file: see 10-ap-info.sql.

SET NAMES latin1;

-- '0000-00-00 00:00:00' means "not set" and is a default below; a strict
-- sql_mode would refuse such a default.
SET SESSION sql_mode = '';

-- The per-AP tables take this character set, so that their MACs are found in
-- either case.
CREATE DATABASE IF NOT EXISTS `AP_CLIENT`
  CHARACTER SET latin1 COLLATE latin1_swedish_ci;

CREATE DATABASE IF NOT EXISTS `AP_POOR_CLIENT`
  CHARACTER SET latin1 COLLATE latin1_swedish_ci;

CREATE TABLE IF NOT EXISTS `AP_CLIENT`.`legal` (
  `utime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00'
    COMMENT 'time of the report that wrote the row, local time',
  `ap` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'ap_list.SN of the AP that owns the radio',
  -- An AP's own rows are inserted without this column.
  `refer_ap` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT '0: row of the owner itself; else ap_list.SN of the AP that heard the radio',
  `mac` CHAR(17) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'BSSID of the radio, upper case',
  `essid` VARCHAR(127) COLLATE latin1_nopad_bin NOT NULL DEFAULT ''
    COMMENT 'SSID of the radio, bytes as reported; empty when it is hidden',
  `essid_sn` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'ap_profile.SN of that SSID; 0 when no profile has it',
  `mode` TINYINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT '0 access point, 1 mesh or ad hoc',
  `rate` VARCHAR(19) NOT NULL DEFAULT ''
    COMMENT 'bit rate as reported, as in "54 Mb/s"; own rows only',
  `channel` SMALLINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'channel number, above 14 is 5 GHz; 0 when unknown',
  `transmit_power` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'transmit power as reported, as in "20 dBm"; own rows only',
  `quality` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'link quality as reported, as in "42/94"',
  -- Text, to keep what the AP sent. In comparisons it is read as a number:
  -- CAST(`signal` AS SIGNED) > -70 and `signal` > -70 agree.
  `signal` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'received level in dBm, a signed number; "0" when not reported',
  `noise` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'noise level in dBm, a signed number; "0" when not reported',
  `security` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'security mode as reported; own rows only',

  -- REPLACE of a sighting must replace the same AP's earlier sighting of the
  -- radio, never the owner's row, so both columns are the key. It also finds the
  -- owner of a BSSID (refer_ap = 0 and mac), and what AP n hears (refer_ap = n:
  -- adjacent rows, a few hundred at most). Owners' rows share refer_ap 0, so a
  -- BSSID that two APs claim stays with the AP that reported it first.
  PRIMARY KEY (`refer_ap`, `mac`),
  -- Finds an AP's own rows (ap = n and refer_ap = 0), which each of its reports
  -- deletes and writes anew, without locking those of all other APs, and finds
  -- who hears AP n (ap = n and refer_ap > 0).
  KEY `owner` (`ap`, `refer_ap`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='radios of managed APs: own rows and who hears them';

CREATE TABLE IF NOT EXISTS `AP_CLIENT`.`illegal` (
  `utime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00'
    COMMENT 'last change of the row, local time',
  -- 1,000 APs with serial numbers of four digits make a list of 5,000 characters.
  `ap_sn` VARCHAR(8000) NOT NULL DEFAULT ''
    COMMENT 'comma list without blanks of ap_list.SN: the APs that heard the radio, in the order they were added',
  `mac` CHAR(17) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'BSSID of the radio, upper case',
  `essid` VARCHAR(127) COLLATE latin1_nopad_bin NOT NULL DEFAULT ''
    COMMENT 'SSID of the radio, bytes as reported; empty when it is hidden',
  `mode` TINYINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT '0 access point, 1 ad hoc',
  `channel` SMALLINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'channel number, above 14 is 5 GHz; 0 when unknown',
  `quality` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'link quality as reported, as in "42/94"',
  `signal` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'received level in dBm at the last AP of the list, a signed number; "0" when not reported',
  `noise` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'noise level in dBm at the last AP of the list, a signed number; "0" when not reported',
  `encryption` TINYINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT '1 the radio encrypts, 0 it is open',

  -- One row per foreign radio; REPLACE replaces it, and an AP is added to its
  -- list by BSSID.
  PRIMARY KEY (`mac`),
  -- Each report first deletes the radios that only this AP heard (ap_sn = 'n').
  -- Without the key, that DELETE would read and lock the whole table. 16
  -- characters distinguish a list of one AP from longer ones. FIND_IN_SET reads
  -- the whole table in any case, but locks nothing.
  -- The price: where that DELETE and another AP's UPDATE meet in one row, the server
  -- may abort one of them as a deadlock. Measured with 64 busy writers: 3 of 100,000
  -- statements. The next report of that AP makes up for it.
  KEY `only_hearer` (`ap_sn`(16))
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='radios that managed APs hear and that belong to nobody we know';

-- Apart from refer_ap_sn a copy of the client's row in AP_%03d at the moment of
-- blocking.
CREATE TABLE IF NOT EXISTS `AP_CLIENT`.`block` (
  -- Stored upper case and looked up as a station list has it: the collation
  -- ignores case.
  `mac` CHAR(18) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'MAC address of the refused client, upper case',
  `utime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00'
    COMMENT 'time of blocking, local time',
  `ssid` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'ap_profile.SN of the SSID that the client used',
  `aid` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'association id, 16 bits',
  `channel` SMALLINT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'channel number, above 14 is 5 GHz',
  `tx_rate` VARCHAR(20) NOT NULL DEFAULT ''
    COMMENT 'rate towards the client as reported, as in "65M"; empty when not reported',
  `rx_rate` VARCHAR(20) NOT NULL DEFAULT ''
    COMMENT 'rate from the client as reported, as in "65M"; empty when not reported',
  `rssi` INT NOT NULL DEFAULT 0
    COMMENT 'link level as the AP reports it, no unit, larger is better',
  `idle` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'seconds without traffic',
  `tx_seq` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'last sequence number sent',
  `rx_seq` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'last sequence number received',
  `refer_ap_sn` INT UNSIGNED NOT NULL DEFAULT 0
    COMMENT 'ap_list.SN of the AP that refuses the client',

  -- One AP at most refuses a client: REPLACE replaces an earlier block.
  PRIMARY KEY (`mac`),
  -- The blocks of an AP, and of an AP and one SSID profile.
  KEY `refusing_ap` (`refer_ap_sn`, `ssid`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='clients that an AP has been told to refuse';

CREATE TABLE IF NOT EXISTS `AP_CLIENT`.`client` (
  `mac` CHAR(17) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'MAC address of the mesh AP, upper case',
  `name` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'name of the mesh AP when the row was made',
  -- TEXT: nothing limits the number of peers.
  `cmac` TEXT NOT NULL DEFAULT ''
    COMMENT 'comma list: MAC addresses of the mesh peers',
  `rssi` TEXT NOT NULL DEFAULT ''
    COMMENT 'comma list: link level of each peer in the order of cmac, no unit',
  `gateway` VARCHAR(39) NOT NULL DEFAULT ''
    COMMENT 'address of the gateway at the end of the mesh route; empty when unknown',
  `ttl` TEXT NOT NULL DEFAULT ''
    COMMENT 'comma list: second word of each hop of the route, as the AP gives it',
  `hop` TEXT NOT NULL DEFAULT ''
    COMMENT 'comma list: first word of each hop of the route, its address',
  -- One row per AP, found and deleted by MAC.
  PRIMARY KEY (`mac`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='mesh links, one row per AP that reports some';
