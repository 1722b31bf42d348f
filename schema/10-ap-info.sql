-- AP_INFO: the registry of managed APs (ap_list) and the SSID profiles
-- (ap_profile).
--
-- Apply all files of this folder in name order, as a user who may create
-- databases, routines and events:
--
--     for f in schema/*.sql; do mariadb < "$f" || break; done
--
-- 10-ap-info.sql         AP_INFO: ap_list, ap_profile
-- 20-ap-client.sql       AP_CLIENT: legal, illegal, block, client
--                        AP_POOR_CLIENT: empty, the program fills it
-- 30-ap-user.sql         AP_USER: app_login, client_name
-- 40-connection-log.sql  CONNTRACK_LOG_YYYYMMDD: ap_controller, a database a
--                        day; the procedures and the event that make and drop
--                        them
-- 52-to-version-2.sql    brings an older schema to version 2
--
-- The per-AP tables `AP_%03d` of AP_CLIENT and AP_POOR_CLIENT are not here: the
-- program makes and drops them. Applying the files again changes nothing, and
-- rows stay.
--
-- The schema's version is in the comment of AP_INFO.ap_list; without one it is 1.
-- The files up to 40 make what is missing, in the newest version. The files from
-- 50 on, one for each version, change what is older than that version.
--
-- What holds in every file:
--
-- * Character set latin1, here, in the tables and on the program's connection:
--   each byte is one character and every byte is legal, so what an AP sends is
--   stored as it came, whatever encoding its administrator typed.
-- * MACs compare without regard to case (latin1_swedish_ci): rows are stored
--   upper case, and some look-ups pass the text as a station list gave it.
-- * SSIDs are bytes, not words. They compare byte for byte, trailing blanks
--   included (latin1_nopad_bin): "Office", "office" and "Office " are three
--   networks.
-- * InnoDB: it survives a power cut of the gateway, and many processes at once
--   lock rows instead of tables.
-- * Every column has a default, so that a statement may leave columns out on a
--   server with a strict sql_mode, too.
-- * A column that holds the number of an AP or of a profile is 0 for "unknown" and
--   "none". There are no foreign keys, because rows of different tables come and
--   go in separate events.

SET NAMES latin1;

-- '0000-00-00 00:00:00' means "not set" and is a default below; a strict
-- sql_mode would refuse such a default.
SET SESSION sql_mode = '';

CREATE DATABASE IF NOT EXISTS `AP_INFO`
  CHARACTER SET latin1 COLLATE latin1_swedish_ci;

-- The lists are VARCHAR(1023), the length to which capability values are cut. All
-- of them full take 20 kB, a third of what a row may hold; DYNAMIC moves long
-- values off the page, so that the row fits.
CREATE TABLE IF NOT EXISTS `AP_INFO`.`ap_list` (
  `SN` INT UNSIGNED NOT NULL AUTO_INCREMENT
    COMMENT 'serial number of the AP, from 1; names its tables AP_%03d',
  `MAC` CHAR(17) NOT NULL DEFAULT '00:00:00:00:00:00'
    COMMENT 'MAC address of the AP, upper case, groups joined by ":"',
  `IP` VARCHAR(45) NOT NULL DEFAULT '0.0.0.0'
    COMMENT 'address of the AP; 0.0.0.0 while it is away or an action is pending',
  `Name` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'name of the AP; its MAC until an administrator names it',
  `Status` TINYINT NOT NULL DEFAULT 0
    COMMENT '1 connected, 0 not connected',
  `action` TINYINT NOT NULL DEFAULT 0
    COMMENT 'pending action: 0 none, 1 reboot ordered, 2 firmware update under way',
  `fw_upgrade` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'path of the pending firmware image; empty when there is none',
  `STime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00'
    COMMENT 'last join, local time; zero when it never joined',
  `ETime` DATETIME NOT NULL DEFAULT '0000-00-00 00:00:00'
    COMMENT 'last leave, local time; zero while it is connected',
  `pf_id` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'comma list of ap_profile.SN, one per 2.4 GHz SSID slot, slot 1 first',
  `5G_pf_id` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'comma list of ap_profile.SN, one per 5 GHz SSID slot, slot 1 first',
  `wired_id` VARCHAR(255) NOT NULL DEFAULT ''
    COMMENT 'wired setting of the AP, as the controller names it',

  `cpu_util` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'CPU use as the AP writes it, mostly percent',
  `memory_util` VARCHAR(9) NOT NULL DEFAULT ''
    COMMENT 'memory use as the AP writes it, mostly percent',
  -- NOT NULL: the status report writes only where the stored version differs
  -- from the reported one, and NULL differs from nothing. Byte for byte:
  -- "2.1.0-rc" and "2.1.0-RC" are two versions.
  `fw_version` VARCHAR(255) COLLATE latin1_nopad_bin NOT NULL DEFAULT ''
    COMMENT 'firmware version as the AP writes it; empty when unknown',
  `uptime` VARCHAR(31) NOT NULL DEFAULT ''
    COMMENT 'time since the AP started as the AP writes it, no fixed unit',

  `poe` TINYINT NOT NULL DEFAULT 0
    COMMENT 'PoE pass-through: -1 the AP has none, 0 it has it or did not say',
  `wired_max` INT NOT NULL DEFAULT 0
    COMMENT 'number of Ethernet ports; 0 when the AP did not say',
  `op_mode` TINYINT NOT NULL DEFAULT 0
    COMMENT 'operating mode: 1 mesh, 0 any other',

  `ssid_max` INT NOT NULL DEFAULT 0
    COMMENT '2.4 GHz: number of SSIDs that the radio can carry',
  `wireless_mode_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: comma list of mode masks: 1 b, 2 g, 4 n, 8 a, 16 ac',
  `high_txpower_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: comma list of high transmit powers in dBm, as the AP gives it',
  `high_power` TINYINT NOT NULL DEFAULT 0
    COMMENT '2.4 GHz: -1 the radio has no high power, 0 it has it or did not say',
  `txpower_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: comma list of transmit powers in dBm, as the AP gives it',
  `channel_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: comma list of channel labels, as in "1 (2412 MHz)"',
  `channel_ext_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: extension channels, as the AP gives them',
  `channel` VARCHAR(31) NOT NULL DEFAULT ''
    COMMENT '2.4 GHz: label of the default channel at the first join',

  `5G_ssid_max` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz: number of SSIDs that the radio can carry',
  `5G_wireless_mode_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz: comma list of mode masks: 1 b, 2 g, 4 n, 8 a, 16 ac',
  `5G_high_txpower_list_1` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 1: comma list of high transmit powers in dBm, as the AP gives it',
  `5G_txpower_list_1` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 1: comma list of transmit powers in dBm, as the AP gives it',
  `5G_high_txpower_list_2` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 2: comma list of high transmit powers in dBm, as the AP gives it',
  `5G_txpower_list_2` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 2: comma list of transmit powers in dBm, as the AP gives it',
  `5G_high_txpower_list_3` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 3: comma list of high transmit powers in dBm, as the AP gives it',
  `5G_txpower_list_3` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 3: comma list of transmit powers in dBm, as the AP gives it',
  `5G_high_txpower_list_4` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 4: comma list of high transmit powers in dBm, as the AP gives it',
  `5G_txpower_list_4` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, sub-band 4: comma list of transmit powers in dBm, as the AP gives it',
  `5G_high_power` TINYINT NOT NULL DEFAULT 0
    COMMENT '5 GHz: -1 a sub-band has no high power, 0 all have it or the AP did not say',
  `5G_channel_list_1_toTxpower` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 1: number of the power list that belongs to it',
  `5G_channel_list_1_band` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 1: sub-band number, as the AP gives it',
  `5G_channel_list_1` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, channel list 1: comma list of channel labels, as in "36 (5180 MHz)"',
  `5G_channel_list_2_toTxpower` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 2: number of the power list that belongs to it',
  `5G_channel_list_2_band` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 2: sub-band number, as the AP gives it',
  `5G_channel_list_2` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, channel list 2: comma list of channel labels, as in "36 (5180 MHz)"',
  `5G_channel_list_3_toTxpower` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 3: number of the power list that belongs to it',
  `5G_channel_list_3_band` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 3: sub-band number, as the AP gives it',
  `5G_channel_list_3` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, channel list 3: comma list of channel labels, as in "36 (5180 MHz)"',
  `5G_channel_list_4_toTxpower` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 4: number of the power list that belongs to it',
  `5G_channel_list_4_band` INT NOT NULL DEFAULT 0
    COMMENT '5 GHz, channel list 4: sub-band number, as the AP gives it',
  `5G_channel_list_4` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz, channel list 4: comma list of channel labels, as in "36 (5180 MHz)"',
  `5G_channel_ext_list` VARCHAR(1023) NOT NULL DEFAULT ''
    COMMENT '5 GHz: extension channels, as the AP gives them',
  `5G_channel` VARCHAR(31) NOT NULL DEFAULT ''
    COMMENT '5 GHz: label of the default channel at the first join',

  PRIMARY KEY (`SN`),
  -- Every event looks its AP up by MAC. Unique: of two joins of a new AP at the
  -- same moment, the second INSERT fails and yields no serial number.
  UNIQUE KEY `mac` (`MAC`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='one row per AP ever registered; schema version 2';

CREATE TABLE IF NOT EXISTS `AP_INFO`.`ap_profile` (
  `SN` INT UNSIGNED NOT NULL AUTO_INCREMENT
    COMMENT 'profile number, from 1; 0 elsewhere means no profile',
  -- As wide as legal.essid, so that whatever an AP reports can be compared.
  `SSID` VARCHAR(127) COLLATE latin1_nopad_bin NOT NULL DEFAULT ''
    COMMENT 'SSID of the profile, 0 to 32 arbitrary bytes',
  PRIMARY KEY (`SN`),
  -- Each radio of each report is matched to its profile by SSID. Not unique: two
  -- profiles may have the same SSID.
  KEY `ssid` (`SSID`)
) ENGINE=InnoDB ROW_FORMAT=DYNAMIC
  DEFAULT CHARACTER SET latin1 COLLATE latin1_swedish_ci
  COMMENT='SSID profiles, maintained by the controller; read only here';
