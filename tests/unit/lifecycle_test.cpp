#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "lifecycle/capability.h"
#include "lifecycle/notice_mail.h"
#include "lifecycle/scan_announcement.h"

namespace {

Capability parsed(const std::string& text) {
  const std::string path = testing::TempDir() + "ap-run-info-" + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << text;
  const std::optional<Report> report = Report::load(path, "");
  unlink(path.c_str());
  return ap_capability_parse(*report);
}

TEST(CapabilityFile, BecomesTwoFragmentsAndTheMarker) {
  using enum SupportMarker;
  struct Case {
    std::string text, initial, refresh;
    SupportMarker marker;
  };
  const Case cases[] = {
      {"[SYSTEM]\nversion=2.1.0\n", ", `fw_version`='2.1.0'", ", `wired_max`=0", clear},
      {"[SYSTEM]\nversion=2.1.0\npoe_passthru=1\nethernet_num=2\nwget_update=0\n[2.4G]\n"
       "mode=b,g,n,bgn\nhi_txpower=0,0,0,0,0,0\nchannel=x,1,,6,,11,\ndefult_channel=6\n",
       ", `fw_version`='2.1.0', `poe`='0', `high_power`='-1', `channel`='6 (2437 MHz)'",
       ", `wired_max`=2, `wireless_mode_list`='1,2,4,7', `high_txpower_list`='0,0,0,0,0,0', "
       "`channel_list`='1 (2412 MHz),6 (2437 MHz),11 (2462 MHz)'",
       clear},
      {"[system]\nPOE_PASSTHRU=none\nwget_update=1\n[2.4g]\nssid_max=8\ntxpower=20,17\n"
       "extension=1:5\nhi_txpower=0,0,0,0,0,0,0\ndefult_channel=36\n[OPERATION]\nmode=MESH\n",
       ", `poe`='-1', `channel`='36 (5180 MHz)'",
       ", `wired_max`=0, `ssid_max`='8', `high_txpower_list`='0,0,0,0,0,0,0', "
       "`txpower_list`='20,17', `channel_ext_list`='1:5', `op_mode`=1",
       set},
      {"[5G]\nssid_max=4\nmode=ac\nhi_txpower1=10,10,10,10,10,10\ntxpower1=9\n"
       "hi_txpower2=0,0,0,0,0,0\ntxpower4=^o^\nchannel1=x,17,,1,,36,,40,\nchannel2=x,17,,1,\n"
       "extension=e\ndefult_channel=177\n[OPERATION]\nmode=AP\n",
       ", `5G_high_power`='-1'",
       ", `wired_max`=0, `5G_ssid_max`='4', `5G_wireless_mode_list`='16', "
       "`5G_high_txpower_list_1`='10,10,10,10,10,10', `5G_txpower_list_1`='9', "
       "`5G_high_txpower_list_2`='0,0,0,0,0,0', `5G_channel_list_1_toTxpower`='17', "
       "`5G_channel_list_1_band`='1', `5G_channel_list_1`='36 (5180 MHz),40 (5200 MHz)', "
       "`5G_channel_ext_list`='e', `op_mode`=0",
       clear},
      {"[SYSTEM]\nversion=it's a\\b\nethernet_num=2, Status=9\nwget_update=-1\n",
       ", `fw_version`='it\\'s a\\\\b'", ", `wired_max`=0", set}};
  for (const Case& expected : cases) {
    const Capability capability = parsed(expected.text);
    EXPECT_EQ(capability.initial, expected.initial) << expected.text;
    EXPECT_EQ(capability.refresh, expected.refresh) << expected.text;
    EXPECT_EQ(capability.marker, expected.marker) << expected.text;
  }
  for (const char* number : {"", "0x2", "2 ", "1e9", "-", "1234567890123456789", "-7", "007"}) {
    const std::string text(number);
    const std::string stored = text == "-7" || text == "007" ? text : text == "2 " ? "2" : "0";
    EXPECT_EQ(parsed("[SYSTEM]\nethernet_num=" + text + "\n").refresh, ", `wired_max`=" + stored);
  }
}

TEST(CapabilityFile, ListsAreTakenApart) {
  const std::pair<const char*, const char*> modes[] = {
      {"a,n,ac,an", "8,4,16,12"}, {"", "0"}, {"bb,B,aac,,acc", "2,0,24,0,16"}};
  for (const auto& [text, masks] : modes) {
    EXPECT_EQ(wireless_mode_mask_list(text), masks) << text;
  }
  std::string many = "x";
  for (int i = 0; i < 70; ++i) {
    many += i < 2 ? ",," : ",1,";
  }
  const auto count = [](const std::string& list) {
    return std::count(list.begin(), list.end(), ',');
  };
  EXPECT_EQ(wireless_mode_mask_list(std::string(100, ',') + "b").substr(118), "1");
  EXPECT_EQ(count(channel_list_parse(many, ChannelListHead::none).labels), 57);
  for (const char* none : {"", ",", ",,", "x,6", "6", "x,,,,", "x,15,,35,,169,,-1,,a,"}) {
    EXPECT_EQ(channel_list_parse(none, ChannelListHead::none).labels, "") << none;
  }
  const ChannelList odd = channel_list_parse("x,,,2,,149,,,,6,7", ChannelListHead::power_and_band);
  EXPECT_EQ(odd.to_txpower, 0);
  EXPECT_EQ(odd.band, 2);
  EXPECT_EQ(odd.labels, "149 (5745 MHz),6 (2437 MHz)");
}

TEST(Notice, MailSaysWhoAndWhen) {
  const std::string mac = "00:11:22:33:44:55";
  const NoticeTimes times{"T1", "T2"};
  const NoticeMail leave{NoticeEvent::leave, "Lobby", mac, "10.0.0.5", std::nullopt, std::nullopt};
  const std::string head = "Name: Lobby\r\nMAC: " + mac + "\r\nIP: 10.0.0.5\r\n";
  EXPECT_EQ(notice_body(leave, times), head + "\r\nConnected: T1\r\nDisconnected: T2\r\n");
  EXPECT_EQ(notice_body(leave, {std::nullopt, "T2"}), head + "\r\nDisconnected: T2\r\n");
  EXPECT_EQ(notice_body(leave, {}), head);
  NoticeMail join{NoticeEvent::join, mac, mac, std::nullopt, std::nullopt, std::nullopt};
  EXPECT_EQ(notice_body(join, times),
            "Name: ---\r\nMAC: " + mac + "\r\nIP: ---\r\n\r\nConnected: T1\r\n");
  join.time_text = "now";
  EXPECT_EQ(notice_body(join, times),
            "Name: ---\r\nMAC: " + mac + "\r\nIP: ---\r\nConnected: now\r\n");
  EXPECT_EQ(notice_message(NoticeEvent::leave, "Lobby", mac), "AP Lobby is disconnected.");
  EXPECT_EQ(notice_message(NoticeEvent::join, std::nullopt, mac), "AP " + mac + " is connected.");
}

TEST(ScanDevice, IsThePortOrItsBridge) {
  EXPECT_EQ(scan_device({"eth0", 2, 1}, "eth1"), "eth0");
  EXPECT_EQ(scan_device({"eth1", 2, 1}, "eth1"), "br2");
  EXPECT_EQ(scan_device({"eth1", 0, 1}, "eth1"), "brgre");
  EXPECT_EQ(scan_device({"eth1", 0, 0}, "eth1"), "br0");
}

}  // namespace
