#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "lifecycle/announcement.h"
#include "lifecycle/capability.h"
#include "lifecycle/scan_announcement.h"

namespace {

/// What a capability file yields: the initial fragment, the refreshed one and the marker's fate.
std::string parsed(const std::string& text) {
  const std::string path = testing::TempDir() + "ap-run-info-" + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << text;
  const Capability capability = ap_capability_parse(*Report::load(path, ""));
  unlink(path.c_str());
  return capability.initial.text + " / " + capability.refresh.text +
         (capability.fetches_updates ? " / set" : "");
}

TEST(CapabilityFile, BecomesTwoFragmentsAndTheMarker) {
  const std::pair<const char*, const char*> cases[] = {
      {"[SYSTEM]\nversion=2.1.0\n", R"(, `fw_version`='2.1.0' / , `wired_max`=0)"},
      {"[SYSTEM]\nversion=2.1.0\npoe_passthru=1\nethernet_num=2\nwget_update=0\n[2.4G]\n"
       "mode=b,g,n,bgn\nhi_txpower=0,0,0,0,0,0\nchannel=x,1,,6,,11,\ndefult_channel=6\n",
       R"(, `fw_version`='2.1.0', `poe`='0', `high_power`='-1', `channel`='6 (2437 MHz)' / , `wired_max`=2, `wireless_mode_list`='1,2,4,7', `high_txpower_list`='0,0,0,0,0,0', `channel_list`='1 (2412 MHz),6 (2437 MHz),11 (2462 MHz)')"},
      {"[system]\nPOE_PASSTHRU=none\nwget_update=1\n[2.4g]\nssid_max=8\ntxpower=20,17\n"
       "extension=1:5\nhi_txpower=0,0,0,0,0,0,0\ndefult_channel=36\n[OPERATION]\nmode=MESH\n",
       R"(, `poe`='-1', `channel`='36 (5180 MHz)' / , `wired_max`=0, `ssid_max`='8', `high_txpower_list`='0,0,0,0,0,0,0', `txpower_list`='20,17', `channel_ext_list`='1:5', `op_mode`=1 / set)"},
      {"[5G]\nssid_max=4\nmode=ac\nhi_txpower1=10,10,10,10,10,10\ntxpower1=9\n"
       "hi_txpower2=0,0,0,0,0,0\ntxpower4=^o^\nchannel1=x,17,,1,,36,,40,\nchannel2=x,17,,1,\n"
       "extension=e\ndefult_channel=177\n[OPERATION]\nmode=AP\n",
       R"(, `5G_high_power`='-1' / , `wired_max`=0, `5G_ssid_max`='4', `5G_wireless_mode_list`='16', `5G_high_txpower_list_1`='10,10,10,10,10,10', `5G_txpower_list_1`='9', `5G_high_txpower_list_2`='0,0,0,0,0,0', `5G_channel_list_1_toTxpower`='17', `5G_channel_list_1_band`='1', `5G_channel_list_1`='36 (5180 MHz),40 (5200 MHz)', `5G_channel_ext_list`='e', `op_mode`=0)"},
      {"[SYSTEM]\nversion=it's a\\b\nethernet_num=2, Status=9\nwget_update=-1\n",
       R"(, `fw_version`='it\'s a\\b' / , `wired_max`=0 / set)"}};
  for (const auto& [text, columns] : cases) {
    EXPECT_EQ(parsed(text), columns) << text;
  }
  for (const char* odd : {"", "0x2", "1e9", "-", "1234567890123456789"}) {
    EXPECT_EQ(parsed("[SYSTEM]\nethernet_num=" + std::string(odd)), " / , `wired_max`=0");
  }
  EXPECT_EQ(parsed("[SYSTEM]\nethernet_num=-007"), " / , `wired_max`=-007");
}

TEST(CapabilityFile, ListsAreTakenApart) {
  const std::pair<const char*, const char*> modes[] = {
      {"a,n,ac,an", "8,4,16,12"}, {"", "0"}, {"bb,B,aac,,acc", "2,0,24,0,16"}};
  for (const auto& [text, masks] : modes) {
    EXPECT_EQ(wireless_mode_mask_list(text), masks) << text;
  }
  EXPECT_EQ(wireless_mode_mask_list(std::string(100, ',') + "b").substr(116), "0,1");
  std::string many = "x";
  for (int i = 0; i < 61; ++i) {
    many += i == 59 ? ",6," : i == 60 ? ",1," : ",0,";
  }
  EXPECT_EQ(channel_list_parse(many, Band::two_four_ghz).labels, "6 (2437 MHz)");
  for (const char* none : {"", ",", ",,", "x,6", "6", "x,,,,", "x,15,,35,,169,,-1,,a,"}) {
    EXPECT_EQ(channel_list_parse(none, Band::two_four_ghz).labels, "") << none;
  }
}

TEST(Notice, BodySaysWhoAndWhen) {
  Notice mail{NoticeEvent::leave, "Lobby", "M", "10.0.0.5"};
  const std::string head = "Name: Lobby\r\nMAC: M\r\nIP: 10.0.0.5\r\n";
  EXPECT_EQ(notice_body(mail, {"T1", "T2"}), head + "\r\nConnected: T1\r\nDisconnected: T2\r\n");
  EXPECT_EQ(notice_body(mail, {std::nullopt, "T2"}), head + "\r\nDisconnected: T2\r\n");
  mail = {NoticeEvent::join, "M", "M", std::nullopt};
  EXPECT_EQ(notice_body(mail, {"T1", "T2"}),
            "Name: ---\r\nMAC: M\r\nIP: ---\r\n\r\nConnected: T1\r\n");
}

TEST(ScanDevice, IsThePortOrItsBridge) {
  EXPECT_EQ(scan_device({"eth1", 0, 1}, "eth1"), "brgre");
  EXPECT_EQ(scan_device({"eth1", 0, 0}, "eth1"), "br0");
  EXPECT_EQ(scan_device({"eth1", 2, 1}, "eth0"), "eth1");
}

}  // namespace
