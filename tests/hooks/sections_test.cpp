
#include <algorithm>
#include <filesystem>
#include <random>

#include "db/connection.h"
#include "support/appliance.h"

namespace {

/// Reports of several APs and the rows that they leave.
class Sections : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(7, kMac, "Lobby");
    register_ap(8, kOtherMac, "Hall");
    sql("UPDATE AP_INFO.ap_list SET pf_id='1,,3', 5G_pf_id='2'");
    sql("INSERT INTO AP_INFO.ap_profile VALUES (1, 'Office'), (2, 'Guest'), (3, 'Devices')");
  }

  static void report(const std::string& text, const std::string& mac = kMac) {
    EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(text), kAddress, mac}), 0);
    std::filesystem::remove(slot_of(mac));
  }

  /// What the reports have left, without times and connection time.
  static Lines stored() {
    Lines all;
    for (const char* rows :
         {"SELECT 'station', mac, ssid, aid, channel, tx_rate, rx_rate, rssi, idle, tx_seq, "
          "rx_seq, confirm FROM AP_CLIENT.AP_007 ORDER BY mac",
          "SELECT 'poor', mac, band, ssid, rssi, status, UNIX_TIMESTAMP(connection_time) FROM "
          "AP_POOR_CLIENT.AP_007 ORDER BY mac",
          "SELECT 'mesh', c.* FROM AP_CLIENT.client c",
          "SELECT 'legal', ap, refer_ap, mac, essid, essid_sn, mode, rate, channel, "
          "transmit_power, quality, `signal`, noise, security FROM AP_CLIENT.legal "
          "ORDER BY refer_ap, mac",
          "SELECT 'illegal', ap_sn, mac, essid, mode, channel, quality, `signal`, noise, "
          "encryption FROM AP_CLIENT.illegal ORDER BY mac"}) {
      const Lines some = sql_rows(rows);
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }
};

const std::string kRadioOfOther = "[5G_01]\nAddress=0a:00:00:00:00:08\nESSID=Guest\n";

TEST_F(Sections, AWholeReportAndWhatHasGoneFromTheNext) {
  report(kRadioOfOther + "[Cell 01]\nAddress=0c:00:00:00:00:05\nESSID=other\n", kOtherMac);
  std::string text =
      "[00]\nversion=1\n[01]\nAddress=0a:00:00:00:00:07\nESSID=Office\nMode=Master\n"
      "Frequency=2.437 GHz\nBit Rate=54 Mb/s\nTx-Power=20 dBm\nLink Quality=42/94\n"
      "Signal level=-45 dBm\nNoise level=-95 dBm\nSecurity mode=WPA2\n"
      "[5G_MESH_01]\nAddress=0a:00:00:00:00:17\nFrequency=5.18 GHz\n"
      "[Cell 5G 01]\nAddress=0A:00:00:00:00:08\nFrequency=5.18 GHz\nSignal=-70 dBm\n"
      "[Cell 5G 02]\nAddress=0c:00:00:00:00:05\nESSID=later\nMode=Ad-Hoc\nEncryption_key=on\n"
      "[01 client MESH 01]\nADDR=ab\nRSSI=31\n[03 client 5G MESH 01]\nADDR=cd\nRSSI=9\n"
      "[TRACEROUTE]\n00=192.0.2.1\n01=192.0.2.2 64\n"
      "[POOR_CLIENT 01]\nADDR=0e:00:00:00:00:01\nRSSI=9\nSTATUS=1\nCONNECTION_TIME=5994967296\n"
      "[POOR_CLIENT 02]\nADDR=0e:00:00:00:00:02\nCONNECTION_TIME=4294967295\n";
  Lines expected;
  for (int i = 1; i <= 64; ++i) {
    const int slot = (i - 1) / 16 + 1;  // 1 to 3 of 2.4 GHz, then 1 of 5 GHz
    const bool five = slot == 4;
    text += M("[%02d client %s%02d]\nADDR=0d:00:00:00:00:%02x\nAID=%d\nCHAN=6\nRATE=%dM\nRSSI=%d\n",
              five ? 1 : slot, five ? "5G " : "", (i - 1) % 16 + 1, i, i, i, -i);
    const int profiles[] = {1, 0, 3, 2};
    expected.push_back(
        M("station|0D:00:00:00:00:%02X|%d|%d|6|%dM||%d|0|0|0|1", i, profiles[slot - 1], i, i, -i));
  }
  expected.push_back("poor|0E:00:00:00:00:01|0|3|9|1|1700000000");
  expected.push_back("poor|0E:00:00:00:00:02|0|3|0|0|2147483647");
  expected.push_back("mesh|" + kMac + "|Lobby|AB,CD|31,9|192.0.2.1|64|192.0.2.2");
  expected.push_back("legal|7|0|0A:00:00:00:00:07|Office|1|0|54 Mb/s|6|20 dBm|42/94|-45|-95|WPA2");
  expected.push_back("legal|8|0|0A:00:00:00:00:08|Guest|2|0||0|||0|0|");
  expected.push_back("legal|7|0|0A:00:00:00:00:17||0|1||36|||0|0|");
  expected.push_back("legal|8|7|0A:00:00:00:00:08|Guest|0|0||36|||-70|0|");
  for (int i = 1; i <= 298; ++i) {
    text += M("[Cell %02d]\nAddress=0c:00:00:00:%02x:%02x\nESSID=n%d\nSignal=-%d dBm\n", i, i / 256,
              i % 256, i, i % 90);
    expected.push_back(M("illegal|%s7|0C:00:00:00:%02X:%02X|n%d|0|0||-%d|0|0", i == 5 ? "8," : "",
                         i / 256, i % 256, i, i % 90));
  }
  expected[71 + 4] = "illegal|8,7|0C:00:00:00:00:05|later|1|0||0|0|1";

  report(text);
  EXPECT_EQ(stored(), expected);
  sql("UPDATE AP_CLIENT.AP_007 SET stime='2024-01-01 10:00:00', utime=0");
  sql("UPDATE AP_CLIENT.illegal SET utime=0");
  report(text);
  expected[66] = "mesh|" + kMac + "|Lobby|ab,cd|31,9|192.0.2.1|64|192.0.2.2";
  EXPECT_EQ(stored(), expected);
  EXPECT_EQ(sql_rows("SELECT DISTINCT stime, utime > NOW() - INTERVAL 1 MINUTE FROM "
                     "AP_CLIENT.AP_007"),
            Lines{"2024-01-01 10:00:00|1"});
  EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_CLIENT.illegal WHERE utime=0"), "0");

  report(
      "[01 client 01]\nADDR=0d:00:00:00:00:02\nRATE=1M\nRXRATE=2M\n"
      "[01 client 02]\nADDR=0d:00:00:00:00:03\nRATE=\n"
      "[Cell 01]\nAddress=0c:00:00:00:00:06\n");
  EXPECT_EQ(stored(), (Lines{"station|0D:00:00:00:00:02|1|0|0|1M|2M|0|0|0|0|1", expected[66],
                             expected[68], "illegal|8|0C:00:00:00:00:05|later|1|0||0|0|1",
                             "illegal|7|0C:00:00:00:00:06||0|0||0|0|0"}));
}

TEST_F(Sections, EveryStatementIsInTheTrace) {
  report(kRadioOfOther, kOtherMac);
  sql("INSERT INTO AP_CLIENT.illegal SET ap_sn='7,8', mac='0C:00:00:00:00:05'");
  trace_on(kMac);
  report(
      "[01]\nAddress=a1\nESSID=it's\n[03]\nAddress=gap\n"
      "[Cell 01]\nAddress=0a:00:00:00:00:08\nSignal=-7'0\n[Cell 02]\nAddress=c9\n"
      "[01 client 01]\nADDR=0d:00:00:00:00:01\nRATE=6'\n[01 client 02]\nADDR=0D:00:00:00:00:01\n"
      "[02 client 01]\nADDR=x'y\n[01 client MESH 01]\nADDR=ab\nRSSI=1\n"
      "[POOR_CLIENT 5G 01]\nADDR=e1\nCONNECTION_TIME=5\n");
  std::string trace = "\n";
  for (const std::string& line : trace_of(kMac)) {
    const bool of_sections = !line.starts_with("command: ") && !line.starts_with("ap_conf_set: ") &&
                             !line.starts_with("ap_system_parse: ");
    trace += of_sections ? line + "\n" : "";
  }
  EXPECT_EQ(trace, R"(
checkConnectionStatus: SELECT `Status`, `action` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
get_ap_sn_by_mac: SELECT `SN` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
delete_ap_legal_table: DELETE FROM `AP_CLIENT`.`legal` WHERE `ap`=7 AND `refer_ap`=0
ap_interface_parse: [03] follows a gap in the numbering: the list ends before the gap
update_ap_legal_table: (1/2) SELECT `ap` FROM `AP_CLIENT`.`legal` WHERE `ap`=7 AND `refer_ap`=0 AND `mac`=UPPER('a1')
get_profile_sn_by_ssid: SELECT `SN` FROM `AP_INFO`.`ap_profile` WHERE `SSID`='it\'s'
update_ap_legal_table: (2/2) INSERT INTO `AP_CLIENT`.`legal` (`utime`, `ap`, `mac`, `essid`, `essid_sn`, `mode`, `rate`, `channel`, `transmit_power`, `quality`, `signal`, `noise`, `security`) VALUES (NOW(), 7, UPPER('a1'), 'it\'s', 0, 0, '', 0, '', '', '0', '0', '') 
get_ap_sn_by_mac: SELECT `SN` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
delete_ap_illegal_table: (1/3) DELETE FROM `AP_CLIENT`.`illegal` WHERE `ap_sn`='7'
delete_ap_illegal_table: (2/3) SELECT `ap_sn`, `mac` FROM `AP_CLIENT`.`illegal` WHERE FIND_IN_SET('7', `ap_sn`) > 0
delete_ap_illegal_table: (3/3) UPDATE `AP_CLIENT`.`illegal` SET `ap_sn`='8', `utime`=NOW() WHERE `mac`=UPPER('0C:00:00:00:00:05') AND `ap_sn`='7,8'
delete_ap_legal_table_for_refer: DELETE FROM `AP_CLIENT`.`legal` WHERE `refer_ap`=7
update_ap_legal_table_for_refer: (1/2) SELECT `ap` FROM `AP_CLIENT`.`legal` WHERE `refer_ap`=0 AND `mac`=UPPER('0a:00:00:00:00:08')
get_profile_sn_by_ssid: SELECT `SN` FROM `AP_INFO`.`ap_profile` WHERE `SSID`=''
update_ap_legal_table_for_refer: (2/2) REPLACE INTO `AP_CLIENT`.`legal` (`utime`, `ap`, `refer_ap`, `mac`, `essid`, `essid_sn`, `mode`, `channel`, `quality`, `signal`, `noise`) VALUES (NOW(), 8, 7, UPPER('0a:00:00:00:00:08'), 'Guest', 0, 0, 0, '', '-7\'0', '0') 
update_ap_legal_table_for_refer: (1/2) SELECT `ap` FROM `AP_CLIENT`.`legal` WHERE `refer_ap`=0 AND `mac`=UPPER('c9')
get_ap_sn_by_mac: SELECT `SN` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
confirm_before_update: UPDATE `AP_CLIENT`.`AP_007` SET `confirm`=0
update_ap_client_db: SELECT * FROM `AP_CLIENT`.`AP_007` WHERE `mac`=UPPER('0d:00:00:00:00:01')
update_ap_client_db: INSERT INTO `AP_CLIENT`.`AP_007` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`) VALUES (UPPER('0d:00:00:00:00:01'), NOW(), 1, 0, 0, '6\'', '', 0, 0, 0, 0)
update_ap_client_db: SELECT * FROM `AP_CLIENT`.`AP_007` WHERE `mac`=UPPER('0D:00:00:00:00:01')
update_ap_client_db: UPDATE `AP_CLIENT`.`AP_007` SET `utime`=NOW(), `ssid`='1', `aid`='0', `channel`='0', `tx_rate`='', `rx_rate`='', `rssi`='0', `idle`='0', `tx_seq`='0', `rx_seq`='0', `confirm`='1' WHERE `mac`=UPPER('0D:00:00:00:00:01')
update_ap_client_db: SELECT * FROM `AP_CLIENT`.`AP_007` WHERE `mac`=UPPER('x\'y')
update_ap_client_db: INSERT INTO `AP_CLIENT`.`AP_007` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`) VALUES (UPPER('x\'y'), NOW(), 0, 0, 0, '', '', 0, 0, 0, 0)
announce_to_kernel: "x'y" is no MAC: not announced
confirm_after_update: DELETE FROM `AP_CLIENT`.`AP_007` WHERE `confirm`=0 
update_ap_mesh_client_db: SELECT * FROM `AP_CLIENT`.`client` WHERE `mac`=UPPER('00:11:22:33:44:55')
get_ap_name_by_mac: SELECT `Name` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
update_ap_mesh_client_db: INSERT INTO `AP_CLIENT`.`client` (`mac`, `name`, `cmac`, `rssi`, `gateway`, `ttl`, `hop`) VALUES (UPPER('00:11:22:33:44:55'), 'Lobby', UPPER('ab'), '1', '', '', '')
get_ap_sn_by_mac: SELECT `SN` FROM `AP_INFO`.`ap_list` WHERE `MAC`=UPPER('00:11:22:33:44:55')
drop_poor_client_table: DROP TABLE IF EXISTS `AP_POOR_CLIENT`.`AP_007`
update_ap_poor_client_db: SELECT * FROM `AP_POOR_CLIENT`.`AP_007` WHERE `mac`=UPPER('e1')
update_ap_poor_client_db: INSERT INTO `AP_POOR_CLIENT`.`AP_007` (`mac`, `band`, `ssid`, `rssi`, `status`, `utime`, `connection_time`) VALUES (UPPER('e1'), 1, 2, 0, 0, NOW(), FROM_UNIXTIME('5'))
)");
}

TEST_F(Sections, AnApWithoutASerialNumberChangesNothingButItsMesh) {
  report("[01]\nAddress=a\nESSID=x\n[Cell 01]\nAddress=b\n[01 client 01]\nADDR=c\n");
  Lines expected = stored();
  const std::string mac = "00:11:22:33:44:77";
  register_ap(9, mac, "Cellar");
  sql("UPDATE AP_INFO.ap_list SET SN=0 WHERE SN=9");
  trace_on(mac);
  report(
      "[01]\nAddress=a\nESSID=y\n[Cell 01]\nAddress=e\n[01 client 01]\nADDR=f\n"
      "[POOR_CLIENT 01]\nADDR=g\n[01 client MESH 01]\nADDR=h\nRSSI=2\n",
      mac);
  expected.insert(expected.begin() + 1, "mesh|" + mac + "|Cellar|H|2|||");
  EXPECT_EQ(stored(), expected);
  EXPECT_EQ(sql("SELECT * FROM AP_CLIENT.AP_000, AP_POOR_CLIENT.AP_000").size(), 0U);
  EXPECT_EQ(trace_of(mac, "update_ap_client_db"),
            Lines{mac + " has no serial number: nothing is stored under it"});
}

TEST_F(Sections, KnownStationsAreLoggedUnlessAddressOrSettingForbidIt) {
  sql("INSERT INTO AP_USER.client_name VALUES ('0D:00:00:00:00:01', 'Laptop')");
  for (const char* settings : {"113=1\n30=::1", "113=0", "113=1\n30=0.0.0.0", "113=1\n30=::1"}) {
    configure(std::string("[settings]\n126=134\n") + settings);
    report(
        "[01 client 01]\nADDR=0d:00:00:00:00:01\nRATE=65M\nCHAN=6\n"
        "[01 client 02]\nADDR=b\n[01 client 03]\nADDR=0d:00:00:00:00:03\nRATE=65M\n"
        "[01 client 04]\nADDR=0d:00:00:00:00:04\nRATE=65M\n[02 client 01]\nADDR=no profile\n");
    sql("UPDATE AP_CLIENT.AP_007 SET stime='2024-01-01 10:00:00'");
  }
  trace_on("end");  // with it, the system log gets a line behind all others
  run_hook({"ap-history", "end"});
  ASSERT_TRUE(eventually([] { return content("/recorded/syslog").ends_with("end\n"); }));
  Lines lines;
  for (const std::string& line : lines_of(content("/recorded/syslog"))) {
    if (const std::size_t at = line.find(": client_name="); at != std::string::npos) {
      lines.push_back(line.substr(0, line.find('>') + 1) + line.substr(at + 2));
    }
  }
  const std::string time = " Connected_time=\"2024-01-01 10:00:00\"";
  const auto line = [&](const char* name, const char* mac, const char* link) {
    return M(R"(<134>client_name="%s" client_mac="%s" AP_name="Lobby" SSID="Office" %s)", name, mac,
             link) +
           time;
  };
  const std::string third = "0d:00:00:00:00:03";
  const std::string fourth = "0d:00:00:00:00:04";
  EXPECT_EQ(lines, (Lines{line("Laptop", "0d:00:00:00:00:01", "Channel=\"6\" Rate=\"65M\""),
                          line("b", "b", "Channel=\"0\" Rate=\"^o^\""),
                          line(third.c_str(), third.c_str(), "Channel=\"0\" Rate=\"65M\""),
                          line(fourth.c_str(), fourth.c_str(), "Channel=\"0\" Rate=\"65M\"")}));
  trace_on(kMac);
  report("[02 client 01]\nADDR=no profile\n");
  EXPECT_EQ(trace_of(kMac, "ap_client_connection_log"),
            Lines{"SELECT SSID FROM `AP_INFO`.`ap_profile` WHERE `SN`=0"})
      << "no name is asked for";
}

TEST_F(Sections, StationsAreAnnouncedToTheKernel) {
  NEEDS_NAMESPACES("nothing can be mounted over /proc");
  const std::string path = deliver_report(
      "[01 client 01]\nADDR=0D:00:00:00:00:AB\n[01 client 02]\nADDR=$(reboot)\n"
      "[01 client 03]\nADDR=0d:00:00:00:00:01\nRATE=\n[5G client 01]\nADDR=no\n"
      "[08 client 5G 01]\nADDR=0d:00:00:00:00:02\n");
  std::filesystem::create_directories("/var/kernel");
  write_file("/var/kernel/xt_APClient", "");
  // The process keeps its number, and with it what is mounted over its network files.
  const std::string command = "mount --bind /var/kernel /proc/$$/net && exec ap-command 1 " + path +
                              " " + kAddress + " " + kMac;
  EXPECT_EQ(std::system(("exec /bin/sh -c '" + command + "'").c_str()), 0);
  EXPECT_EQ(content("/var/kernel/xt_APClient"), "0d:00:00:00:00:ab\n0d:00:00:00:00:02\n");
}

TEST_F(Sections, HostileTextsStayTexts) {
  const std::string hostile = "a'),\\\"%s`(\xff\x01";  // 12 bytes; the reader cuts some at 9
  const auto value = [&](const char* key) { return std::string(key) + "=" + hostile + "\n"; };
  std::string text = "[01]\nAddress=1\n";
  for (const char* key : {"ESSID", "Bit Rate", "Tx-Power", "Link Quality", "Signal level",
                          "Noise level", "Security mode"}) {
    text += value(key);
  }
  text += "[Cell 01]\n" + value("Address") + value("ESSID") + value("Quality") + value("Signal") +
          value("Noise") + "[01 client 01]\n" + value("ADDR") + value("RATE") + value("RXRATE") +
          value("CHAN") + "[POOR_CLIENT 01]\nCONNECTION_TIME=1\n" + value("ADDR") +
          "[01 client MESH 01]\n" + value("ADDR") + value("RSSI") + "[TRACEROUTE]\n" + value("00") +
          value("01");
  for (int i = 0; i < 2; ++i) {  // new rows, then known ones
    report(text);
    const std::string mac = sql_value("SELECT UPPER('a''),\\\\\"%s`(\xff\x01')");
    const std::string nine = hostile.substr(0, 9);
    const std::string peer = i == 0 ? mac : hostile;
    EXPECT_EQ(
        stored(),
        (Lines{
            "station|" + mac + "|1|0|0|" + hostile + "|" + hostile + "|0|0|0|0|1",
            "poor|" + mac + "|0|3|0|0|1",
            "mesh|" + kMac + "|Lobby|" + peer + "|" + nine + "|" + hostile + "||" + hostile,
            "legal|7|0|1|" + hostile + "|0|0|" + hostile + "|0|" + nine + "|" + nine + "|" + nine +
                "|" + nine + "|" + hostile,
            "illegal|7|" + mac + "|" + hostile + "|0|0|" + nine + "|" + nine + "|" + nine + "|0"}));
  }
}

TEST_F(Sections, AnySsidIsMatchedByItsBytes) {
  std::string bytes = "a'\\\"";
  for (int i = 0; bytes.size() < 32; ++i) {
    bytes += static_cast<char>(0x80 + 7 * i);  // no UTF-8
  }
  for (const std::string& ssid : {bytes, std::string("a"), std::string("caf\xe9"), std::string()}) {
    sql("UPDATE AP_INFO.ap_profile SET SSID='" + SqlText::escaped_or_empty(ssid).text() +
        "' WHERE SN=3");
    const std::string line = ssid.empty() ? "" : "ESSID=" + ssid + "\n";
    report("[01]\nAddress=0a:00:00:00:00:08\n" + line, kOtherMac);
    report("[Cell 01]\nAddress=0a:00:00:00:00:08\n" + line + "[Cell 02]\nAddress=c\n" + line);
    EXPECT_EQ(sql_rows("SELECT essid, essid_sn FROM AP_CLIENT.legal"),
              (Lines{ssid + "|3", ssid + "|3"}));
    EXPECT_EQ(sql_value("SELECT essid FROM AP_CLIENT.illegal"), ssid);
  }
}

TEST_F(Sections, AForeignRadioTwiceInAScanIsListedOnce) {
  report("[Cell 01]\nAddress=ab\nESSID=hall\n", kOtherMac);
  report("[Cell 01]\nAddress=ab\nESSID=one\n[Cell 5G 01]\nAddress=AB\nESSID=two\n");
  EXPECT_EQ(sql_rows("SELECT ap_sn, essid FROM AP_CLIENT.illegal"), Lines{"8,7|two"});
  report("[Cell 01]\nAddress=ab\nESSID=hall\n", kOtherMac);
  EXPECT_EQ(sql_rows("SELECT ap_sn, essid FROM AP_CLIENT.illegal"), Lines{"7,8|hall"});
}

TEST_F(Sections, DeadlocksAreMadeUpFor) {
  report("[Cell 01]\nAddress=a\n[Cell 02]\nAddress=b\n[Cell 03]\nAddress=c\n");
  report("[Cell 01]\nAddress=b\n", kOtherMac);
  sql("CREATE TABLE AP_CLIENT.left_to_fail (n INT) ENGINE=MyISAM SELECT 3 AS n");
  for (const std::string event : {"INSERT", "UPDATE", "DELETE"}) {
    sql("CREATE TRIGGER AP_CLIENT.fail_" + event + " BEFORE " + event +
        " ON AP_CLIENT.illegal FOR EACH ROW BEGIN UPDATE AP_CLIENT.left_to_fail SET n=n-1; IF "
        "(SELECT n FROM AP_CLIENT.left_to_fail) >= 0 THEN SIGNAL SQLSTATE '40001' SET "
        "MYSQL_ERRNO=1213; END IF; END");
  }
  report("[Cell 01]\nAddress=b\nESSID=last\n");
  EXPECT_EQ(sql_rows("SELECT ap_sn, mac, essid FROM AP_CLIENT.illegal"), Lines{"8,7|B|last"});
  sql("UPDATE AP_CLIENT.left_to_fail SET n=1");
  sql("DROP TRIGGER AP_CLIENT.fail_UPDATE");
  report("[Cell 01]\nAddress=d\nESSID=one\n[Cell 02]\nAddress=D\nESSID=two\n", kOtherMac);
  EXPECT_EQ(sql_rows("SELECT ap_sn, mac, essid FROM AP_CLIENT.illegal ORDER BY mac"),
            (Lines{"7|B|last", "8|D|two"}));
  sql("DROP TRIGGER AP_CLIENT.fail_INSERT");
  sql("DROP TRIGGER AP_CLIENT.fail_DELETE");
  sql("DROP TABLE AP_CLIENT.left_to_fail");
}

TEST_F(Sections, ApsThatScanAtOnceKeepEachOthersEntries) {
  constexpr int kScanners = 6;
  std::mt19937 random(1);
  for (int ap = 1; ap <= kScanners; ++ap) {
    register_ap(20 + ap, M("00:11:22:33:55:%02X", ap), "many");
  }
  for (int round = 0; round < 6; ++round) {
    std::vector<kit::Child> processes;
    Lines expected;
    for (int ap = 1; ap <= kScanners; ++ap) {
      std::string cells;
      Lines radios;
      for (char radio = 'a'; radio <= 'z'; ++radio) {
        radios.emplace_back(1, radio);
      }
      std::shuffle(radios.begin(), radios.end(), random);
      radios.resize(round % 2 == 0 ? 26 : 13);  // half of them go and come back
      for (std::size_t i = 0; i < radios.size(); ++i) {
        cells += M("[Cell %02zu]\nAddress=%s\n", i + 1, radios[i].c_str());
        expected.push_back(radios[i] + M("|%d", 20 + ap));
      }
      processes.push_back(start_hook(
          {"ap-command", "1", deliver_report(cells), kAddress, M("00:11:22:33:55:%02X", ap)}));
    }
    for (kit::Child& process : processes) {
      EXPECT_EQ(process.finish().status, 0);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sql_rows("SELECT LOWER(i.mac), l.SN FROM AP_CLIENT.illegal i JOIN AP_INFO.ap_list l "
                       "ON FIND_IN_SET(l.SN, i.ap_sn) ORDER BY 1, 2"),
              expected)
        << "round " << round;
    for (const std::string& name : names_in("/database/ap/command")) {
      std::filesystem::remove("/database/ap/command/" + name);
    }
  }
  EXPECT_EQ(sql_value("SELECT MAX(LENGTH(ap_sn)) < 3 * 6 FROM AP_CLIENT.illegal"), "1") << "once";
}

}  // namespace
