#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "db/registry.h"
#include "reports/foreign_radios.h"
#include "reports/mesh_links.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"
#include "reports/poor_clients.h"
#include "reports/station_list.h"

namespace {

using Lines = std::vector<std::string>;

Report report_of(const std::string& text) {
  const std::string path = testing::TempDir() + "ap-run-sections-" + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << text;
  std::optional<Report> report = Report::load(path, "");
  unlink(path.c_str());
  EXPECT_TRUE(report) << text;
  return std::move(*report);
}

template <typename Record, typename Describe>
Lines described(const std::vector<Record>& records, Describe describe) {
  Lines lines;
  std::transform(records.begin(), records.end(), std::back_inserter(lines), describe);
  return lines;
}

TEST(Stations, AreReadSlotBySlotUpToAGap) {
  const auto stations = read_stations(
      report_of("[02 CLIENT 5g 01]\naddr=c\n"
                "[01 client 01]\nADDR=00:11:22:33:44:55:66\nAID=65537\nCHAN=0x24\nRATE=65M\n"
                "RXRATE=12345678901234567890\nRSSI=-7\nIDLE=4294967296\nTXSEQ=-1\nRXSEQ=12x\n"
                "[01 client 02]\nADDR=\nRATE=\n[01 client 04]\nADDR=lost\n"
                "[08 client 01]\nADDR=b\nRXRATE=^o^\n[09 client 01]\nADDR=no slot\n"));
  EXPECT_EQ(described(stations.records,
                      [](const reported_station& s) {
                        const client_record& c = s.client;
                        return M("%d/%d %s %u %u %u %s %s %d %u %u %u %d", s.band == Band::five_ghz,
                                 s.slot, c.mac.c_str(), c.ssid, c.aid, c.channel, c.tx_rate.c_str(),
                                 c.rx_rate.c_str(), c.rssi, c.idle, c.tx_seq, c.rx_seq,
                                 is_served(c));
                      }),
            (Lines{"0/1 00:11:22:33:44:55 0 1 36 65M 1234567890123456789 -7 0 4294967295 12 1",
                   "0/1  0 0 0  ^o^ 0 0 0 0 0", "0/8 b 0 0 0 ^o^ ^o^ 0 0 0 0 1",
                   "1/2 c 0 0 0 ^o^ ^o^ 0 0 0 0 1"}));
  EXPECT_EQ(stations.unread,
            Lines{"[01 client 04] follows a gap in the numbering: the list ends before the gap"});
}

TEST(Cells, AreReadUpToALimit) {
  std::string text;
  for (int i = 1; i <= 8'193; ++i) {
    text += M("[Cell %02d]\nAddress=%d\n", i, i);
  }
  const Listing<cell_record> cells = read_cells(report_of(text));
  EXPECT_EQ(cells.records.size(), 8'192U);
  EXPECT_EQ(cells.unread,
            Lines{"[Cell 8193] is beyond the 8192 that are read: the list ends before it"});
}

TEST(Radios, AreCutAndReadWithTheirMeshInterfaces) {
  const std::string v(300, 'v');
  std::string own =
      "[01]\nAddress=00:11:22:33:44:55:66\nMode=aD-HOC\nFrequency=2.437 GHz\nESSID=" + v +
      "\nBit Rate=" + v + "\nTx-Power=" + v + "\nLink Quality=" + v +
      "\nSignal level=-1234567890 dBm\nNoise level=-95\tdBm\nSecurity mode=" + v + "\n";
  for (int i = 2; i <= 9; ++i) {
    own += M("[%02d]\nAddress=%d\nMode=Master\n", i, i);
  }
  const auto radios =
      read_radios(report_of(own + "[5G_MESH_01]\nAddress=m\nFrequency=5.745 GHz\nESSID=\n"
                                  "[5G_01]\nAddress=f\nFrequency=5 GHz\n[5G_03]\nAddress=lost\n"));
  const Lines lines = described(radios.records, [](const radio_record& r) {
    return r.mac + M("|%d|%d|", r.mode, r.channel) + r.essid + r.rate + r.transmit_power +
           r.quality + "|" + r.signal + "|" + r.noise + "|" + r.security;
  });
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines[0], "00:11:22:33:44:55|1|6|" + v.substr(0, 127 + 19 + 9 + 9) + "|-12345678|-95|" +
                          v.substr(0, 255));
  EXPECT_EQ(lines[7], "8|0|0|^o^|0|0|");
  EXPECT_EQ(lines[8], "f|0|0|^o^|0|0|");
  EXPECT_EQ(lines[9], "m|1|149||0|0|");
  EXPECT_TRUE(radios.unread.size() == 1 && radios.unread[0].starts_with("[5G_03]"));
}

TEST(Cells, ModeEncryptionAndBand) {
  const auto cells = read_cells(
      report_of("[Cell 01]\nAddress=a\n"
                "[Cell 02]\nAddress=b\nESSID=\nMode=masterful\nFrequency=5.18 GHz\nQuality=42/94\n"
                "Signal= -71  dBm\nNoise=\nEncryption_key=oFf\n"
                "[Cell 5G 01]\nAddress=c\nMode=Ad-Hoc\nFrequency=5.18 GHz\nEncryption_key=on\n"
                "[Cell 5G 03]\nAddress=lost\n"));
  EXPECT_EQ(described(cells.records,
                      [](const cell_record& c) {
                        return M("%s|%s|%d|%d|%s|%s|%s|%d", c.mac.c_str(), c.essid.c_str(), c.mode,
                                 c.channel, c.quality.c_str(), c.signal.c_str(), c.noise.c_str(),
                                 c.encryption);
                      }),
            (Lines{"a|^o^|0|0||0|0|0", "b||0|0|42/94|-71||0", "c|^o^|1|36||0|0|1"}));
  EXPECT_TRUE(cells.unread.size() == 1 && cells.unread[0].starts_with("[Cell 5G 03]"));
}

TEST(Mesh, RouteNeedsAGatewayAndAHop) {
  const std::string two_hops = "[TRACEROUTE]\n00=" + std::string(45, 'g') +
                               "\n01= 123456789012345678  1234567890 x\n02=alone\n04=lost\n";
  const std::tuple<std::string, std::string> cases[] = {
      {"", "||"},
      {"[TRACEROUTE]\n00=192.0.2.1\n", "||"},
      {"[TRACEROUTE]\n01=192.0.2.2 64\n", "||"},
      {"[TRACEROUTE]\n00=192.0.2.1\n01=192.0.2.2\n", "192.0.2.1|192.0.2.2|"},
      {two_hops, std::string(39, 'g') + "|12345678901234567,alone|123456789,"}};
  for (const auto& [text, expected] : cases) {
    const mesh_route route = read_mesh_route(report_of(text));
    EXPECT_EQ(route.gateway + "|" + route.hop + "|" + route.ttl, expected) << text;
  }
}

TEST(ProfileSlots, CountFromOne) {
  const std::tuple<const char*, int, std::uint32_t> cases[] = {
      {"", 1, 0},     {"5", 0, 0},       {"5", 1, 5},       {"5", 2, 0},      {"5,,7", 2, 0},
      {"5,,7", 3, 7}, {" 12x,3", 1, 12}, {"1,2,3,4", 4, 4}, {"1,2,3,4", 8, 0}};
  for (const auto& [list, slot, profile] : cases) {
    EXPECT_EQ(profile_in_slot(list, slot), profile) << list << " " << slot;
  }
}

TEST(Hearers, LeaveTheirLists) {
  const std::pair<const char*, const char*> cases[] = {
      {"3,7,12", "3,12"}, {"7,12", "12"},   {"12,7", "12"},     {"7", ""},
      {"7,7", ""},        {"3,12", "3,12"}, {"17,77", "17,77"}, {"7x,07,3", "3"}};
  for (const auto& [list, left] : cases) {
    EXPECT_EQ(without_hearer(list, 7), left) << list;
  }
}

TEST(Lists, OfANightmareAreCut) {
  std::string text;
  for (int number = 1; number <= 8'193; ++number) {
    const std::string label = (number < 10 ? "0" : "") + std::to_string(number);
    text += "[POOR_CLIENT " + label + "]\nADDR=a\n[Cell " + label + "]\nAddress=a\n";
  }
  const Report report = report_of(text);
  const auto clients = read_poor_clients(report, Band::two_four_ghz);
  EXPECT_EQ(clients.records.size(), 2'048U);
  EXPECT_EQ(clients.unread,
            Lines{"[POOR_CLIENT 2049] is beyond the 2048 that are read: the list ends before it"});
  const auto cells = read_cells(report);
  EXPECT_EQ(cells.records.size(), 8'192U);
  EXPECT_TRUE(cells.unread.size() == 1 && cells.unread[0].starts_with("[Cell 8193]"));
}

}  // namespace
