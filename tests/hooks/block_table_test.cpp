#include "steering/block_table.h"

#include "support/appliance.h"

namespace {

class BlockTable : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(7, kMac, "Lobby");
    trace_on(kMac);
  }
  static std::string trace() {
    std::string text = "\n";
    for (const std::string& line : trace_of(kMac)) {
      text += line.starts_with("get_ap_sn") ? "" : line + "\n";
    }
    return text;
  }
};

TEST_F(BlockTable, AStationIsRefusedOnceAndFoundInEitherCase) {
  client_record client{"00:00:5e:00:53:0a", 3, 65535, 149, "^o^", "65M", -71, 4294967295U};
  Ap ap(kMac, {"test", Remedy::none});
  ASSERT_TRUE(ap.db.open());
  EXPECT_FALSE(ap_block_exists(ap.db, "a"));
  EXPECT_TRUE(ap_block_add(ap.db, 7, client));
  client.mac = "00:00:5E:00:53:0A";
  EXPECT_FALSE(ap_block_add(ap.db, 8, client)) << "whichever AP refuses it";
  EXPECT_TRUE(ap_block_exists(ap.db, "00:00:5e:00:53:0A"));
  EXPECT_EQ(trace(), R"(
ap_block_exists: SELECT * FROM `AP_CLIENT`.`block` WHERE `mac`='a'
ap_block_exists: a not exists in block table.
ap_block_add: (1/2) SELECT `mac` FROM `AP_CLIENT`.`block` WHERE `mac`='00:00:5e:00:53:0a'
ap_block_add: (2/2) REPLACE INTO `AP_CLIENT`.`block` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`, `refer_ap_sn`) VALUES (UPPER('00:00:5e:00:53:0a'), NOW(), 3, 65535, 149, '', '65M', -71, 4294967295, 0, 0, 7) )"
                     R"(
ap_block_add: (1/2) SELECT `mac` FROM `AP_CLIENT`.`block` WHERE `mac`='00:00:5E:00:53:0A'
ap_block_exists: SELECT * FROM `AP_CLIENT`.`block` WHERE `mac`='00:00:5e:00:53:0A'
ap_block_exists: 00:00:5e:00:53:0A  exists in block table.
)");
}

TEST_F(BlockTable, BlocksAreLiftedOneByOneQuietlyOrAloud) {
  const auto left = [] { return sql_rows("SELECT mac FROM AP_CLIENT.block ORDER BY mac"); };
  sql("INSERT INTO AP_CLIENT.block (mac, refer_ap_sn) VALUES ('AA', 7), ('BB', 7), ('CC', 8)");
  Ap ap(kMac, {"test", Remedy::none});
  ap_block_remove_client(ap, "aa", "x");
  ap_block_remove_client(ap, "CC", "x");
  Ap other(kOtherMac, {"test", Remedy::none});
  ap_block_remove(other, Quiet::no, "not registered");
  ap.db.close();
  EXPECT_EQ(left(), (Lines{"BB", "CC"}));
  configure("[settings]\n135 = 2\n");
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(""), kAddress, kMac}), 0);
  EXPECT_EQ(left(), Lines{"CC"}) << "a MAC filter is on";
  EXPECT_EQ(content(slot_of(kMac)).find("type="), std::string::npos);
}

}  // namespace
