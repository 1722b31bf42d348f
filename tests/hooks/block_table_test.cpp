#include "steering/block_table.h"

#include "db/schema.h"

#include "support/appliance.h"

namespace {

class BlockTable : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(7, kMac, "Lobby");
    register_ap(8, kOtherMac, "Office");
    trace_on(kMac);
  }
  static Lines blocks() { return sql_rows("SELECT mac, refer_ap_sn FROM AP_CLIENT.block"); }
};

client_record station(const std::string& mac) {
  client_record client{};
  client.mac = mac;
  client.ssid = 3;
  client.aid = 65535;
  client.channel = 149;
  client.tx_rate = "^o^";
  client.rx_rate = "65M";
  client.rssi = -71;
  client.idle = 4294967295U;
  return client;
}

bool is_blocked(Connection& db, const std::string& mac) {
  const Question asked = ask_block_exists(db, mac);
  const bool blocked = ap_block_exists(asked);
  trace_block_exists(db, asked, mac, blocked);
  return blocked;
}

TEST_F(BlockTable, AStationIsRefusedOnceAndFoundInEitherCase) {
  const std::string mac = "00:00:5e:00:53:0a";
  Connection db(kMac);
  EXPECT_FALSE(is_blocked(db, mac));
  EXPECT_TRUE(ap_block_add(db, 7, station(mac)));
  EXPECT_FALSE(ap_block_add(db, 8, station("00:00:5E:00:53:0A")));
  EXPECT_TRUE(is_blocked(db, mac));
  EXPECT_FALSE(is_blocked(db, "' OR '1'='1"));
  EXPECT_EQ(sql_rows("SELECT mac, utime > NOW() - INTERVAL 1 MINUTE, ssid, aid, channel, tx_rate, "
                     "rx_rate, rssi, idle, refer_ap_sn FROM AP_CLIENT.block"),
            Lines{"00:00:5E:00:53:0A|1|3|65535|149||65M|-71|4294967295|7"});
  EXPECT_TRUE(ap_release_rule(db, 3, "00:11:22:33:44:55"));
  EXPECT_FALSE(ap_release_rule(db, 4, kMac));
  EXPECT_FALSE(ap_release_rule(db, 3, kOtherMac));
  ap_block_count(db, ask_block_list(db), "caller", 535);
  const Lines all = trace_of(kMac);
  EXPECT_EQ(all.front(),
            "ap_block_exists: SELECT * FROM `AP_CLIENT`.`block` WHERE `mac`='" + mac + "'");
  EXPECT_EQ(all[1], "ap_block_exists: " + mac + " not exists in block table.");
  EXPECT_EQ(trace_of(kMac, "ap_block_add")[1],
            "(2/2) REPLACE INTO `AP_CLIENT`.`block` (`mac`, `utime`, `ssid`, `aid`, `channel`, "
            "`tx_rate`, `rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`, `refer_ap_sn`) VALUES "
            "(UPPER('" +
                mac + "'), NOW(), 3, 65535, 149, '', '65M', -71, 4294967295, 0, 0, 7) ");
  EXPECT_EQ(trace_of(kMac, "ap_release_rule").back(), "        (1/1) no matched");
  EXPECT_EQ(
      all.back(),
      "ap_block_count: **BLOCK LIST** (1/1) callby=>caller:535, client_mac:00:00:5E:00:53:0A, "
      "block_ap:7");
}

TEST_F(BlockTable, BlocksAreLiftedOneByOneQuietlyOrAloud) {
  const Words rows{"('AA', 7)", "('BB', 7)", "('CC', 8)"};
  for (const std::string& row : rows) {
    sql("INSERT INTO AP_CLIENT.block (mac, refer_ap_sn) VALUES " + row);
  }
  ap_block_remove_client(kMac, "aa", "x");
  ap_block_remove_client(kMac, "CC", "x");
  ap_block_remove("00:00:00:00:00:01", Quiet::no, "x");
  EXPECT_EQ(blocks(), (Lines{"BB|7", "CC|8"}));
  ap_block_remove(kMac, Quiet::yes, "quiet");
  EXPECT_EQ(blocks(), Lines{"CC|8"});
  EXPECT_EQ(names_in("/database/ap/command"), Lines{});
  ap_block_remove(kMac, Quiet::no, "aloud");
  EXPECT_EQ(without_time(content(slot_of(kMac))), "[command]\ntype=5\ntime=T\n");
  const std::string lift = "DELETE FROM `AP_CLIENT`.`block` WHERE ";
  EXPECT_EQ(trace_of(kMac, "ap_block_remove"),
            (Lines{"        (1/2 callby:x) " + lift + "`mac`='aa' AND `refer_ap_sn`=7",
                   "        (1/2 callby:x) " + lift + "`mac`='CC' AND `refer_ap_sn`=7",
                   "        (1/2 callby:quiet) " + lift + "`refer_ap_sn`=7",
                   "        (1/2 callby:aloud) " + lift + "`refer_ap_sn`=7",
                   "        (2/2 callby:aloud) /usr/sbin/ap-command 5 127.0.0.1 " + kMac}));
}

TEST_F(BlockTable, AMacFilterLiftsBlocksQuietly) {
  configure("[settings]\n135 = 2\n");
  sql("INSERT INTO AP_CLIENT.block (mac, refer_ap_sn) VALUES ('AA', 7), ('BB', 8)");
  EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(""), kAddress, kMac}), 0);
  EXPECT_EQ(blocks(), Lines{"BB|8"});
  EXPECT_EQ(content(slot_of(kMac)).find("type="), std::string::npos);
}

TEST_F(BlockTable, ClientsAreCountedUntilTheTableIsDropped) {
  Connection db(kMac);
  create_client_table(db, 1234);
  sql("INSERT INTO AP_CLIENT.AP_1234 (mac) VALUES ('AA'), ('BB')");
  EXPECT_EQ(get_ap_client_amount(db, 1234), 2);
  EXPECT_EQ(trace_of(kMac).back(), "get_ap_client_amount: amount:2");
  EXPECT_EQ(get_ap_client_amount(db, 7), 0) << "no table";
  create_client_table(db, 7);
  create_client_table(db, 0);
  db.close();
  for (const std::string& mac : {kMac, kMac, std::string("00:00:00:00:00:01")}) {
    drop_ap_client_table(mac);
  }
  EXPECT_EQ(sql_rows("SHOW TABLES FROM AP_CLIENT LIKE 'AP\\_%'"), Lines{"AP_1234"});
}

}  // namespace
