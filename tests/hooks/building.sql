-- A building for the steering tests: AP 1 is crowded, APs 2 and 3 have room for three stations
-- together. Profile 1 is an SSID with a quote. AP 1 refuses a station on it already, AP 9 another.
INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'it\'s'), (2, 'Guest');

CREATE TABLE AP_CLIENT.AP_001 (
  mac CHAR(18) PRIMARY KEY, utime DATETIME, ssid INT, aid INT, channel INT, tx_rate VARCHAR(20),
  rx_rate VARCHAR(20), rssi INT, idle INT UNSIGNED, tx_seq INT, rx_seq INT);
CREATE TABLE AP_CLIENT.AP_002 LIKE AP_CLIENT.AP_001;
CREATE TABLE AP_CLIENT.AP_003 LIKE AP_CLIENT.AP_001;

INSERT INTO AP_CLIENT.AP_001 VALUES
  ('02:00:00:00:00:0a', NOW(), 1, 3, 36, '^o^', '65M', 50,  10, 7, 8),  -- best link: refused
  ('02:00:00:00:00:02', NOW(), 1, 4, 36, '54M', '54M', 45,  40, 0, 0),  -- refused by AP 9 already
  ('02:00:00:00:00:03', NOW(), 1, 5, 14, '54M', '54M', 40, 100, 0, 0),  -- nobody else on 2.4 GHz
  ('02:00:00:00:00:04', NOW(), 2, 6,  6, '54M', '54M', 30,  31, 0, 0),  -- AP 3 is too faint
  ('02:00:00:00:00:05', NOW(), 9, 7,  6, '54M', '54M', 25,  30, 0, 0),  -- profile 9 does not exist
  ('02:00:00:00:00:06', NOW(), 1, 8, 36, '54M', '54M', 20,   0, 0, 0);  -- link too weak
INSERT INTO AP_CLIENT.AP_002 (mac, ssid) VALUES ('02:00:00:00:00:21', 1);
INSERT INTO AP_CLIENT.AP_003 (mac, ssid) VALUES ('02:00:00:00:00:31', 1), ('02:00:00:00:00:32', 1);

-- refer_ap 0: the AP's own radios; else who hears whom.
INSERT INTO AP_CLIENT.legal (refer_ap, ap, mac, essid, channel, `signal`) VALUES
  (0, 1, '02:01:00:00:00:01', 'it\'s', 36, '0'),
  (0, 1, '02:01:00:00:00:02', 'Guest',  6, '0'),
  (1, 2, '02:02:00:00:00:01', 'it\'s', 40, '-50'),
  (1, 3, '02:03:00:00:00:01', 'it\'s', 44, '-60'),
  (1, 3, '02:03:00:00:00:02', 'Guest',  6, '-70'),
  (2, 1, '02:01:00:00:00:01', 'it\'s', 36, '-60'),
  (2, 1, '02:01:00:00:00:02', 'Guest',  6, '-90');

INSERT INTO AP_CLIENT.block (mac, ssid, refer_ap_sn) VALUES
  ('02:00:00:00:00:02', 1, 9), ('02:00:00:00:00:99', 1, 1);
