-- Profiles and client names for the reports of this folder. For a lab database
-- only: profiles 1 to 3 are replaced. Apply after schema/, over and over if need
-- be:
--
--     mariadb < lab/reports/profiles.sql

SET NAMES latin1;
SET SESSION sql_mode = '';

-- The own radios of the reports carry these SSIDs: slot 1 Office, slot 2 Guest,
-- slot 3 (2.4 GHz only) Devices. The APs need the profile lists `1,2,3`.
REPLACE INTO `AP_INFO`.`ap_profile` (`SN`, `SSID`) VALUES
  (1, 'Office'),
  (2, 'Guest'),
  (3, 'Devices');

REPLACE INTO `AP_USER`.`client_name` (`MAC`, `Name`) VALUES
  (UPPER('be:30:3a:f5:da:ed'), 'Reception Laptop'),
  (UPPER('da:62:bc:a5:99:31'), 'Ana''s Phone'),
  (UPPER('e6:c5:6e:a7:1b:b9'), 'Badge Printer'),
  (UPPER('ee:1d:6e:2f:62:43'), 'Meeting Screen'),
  (UPPER('ba:75:fe:c3:d6:37'), 'Warehouse Tablet'),
  (UPPER('5e:7a:87:47:8b:5c'), 'Desk 14'),
  (UPPER('a6:a5:d1:d1:bb:f3'), 'Desk 15'),
  (UPPER('36:b2:d4:b8:7d:62'), 'Board Room Laptop');
