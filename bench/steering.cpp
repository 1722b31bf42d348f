#include "building.h"
#include "figures.h"
#include "kit/child.h"
#include "kit/files.h"
#include "sections.h"

namespace {

constexpr int kRounds = 5;
/// `near` of the heard APs are above -70 dBm.
struct Pass {
  int aps, stations, near;
  int lines = 0;
  double statements = 0, ms = 0;
};

/// AP 1 with its stations hears the other APs, which are empty, so nearly all stations should be
/// sent away; the near ones would serve each of them.
void build(Server& server, const Pass& pass) {
  const std::string mac = ap_mac(kAp);
  server.clear();
  server.rows("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'Office')");
  server.rows("INSERT INTO AP_INFO.ap_list (SN, MAC, Status) VALUES (1, '" + mac + "', 1)");
  server.rows(
      "INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac, essid, channel, `signal`) VALUES "
      "(1, 0, '" +
      mac + "', 'Office', 36, '0'), (1, 2, '" + mac + "', 'Office', 36, '-60')");
  server.rows(kit::format(
      "INSERT INTO AP_CLIENT.legal (ap, refer_ap, mac, essid, channel, `signal`) SELECT seq, 1, "
      "CONCAT('02:', HEX(seq)), 'Office', 40, IF(seq <= %d, '-50', '-72') FROM AP_CLIENT.seq_2_to_%d",
      pass.near + 1, pass.aps + 1));
  server.rows(
      "CREATE TABLE AP_CLIENT.AP_001 (mac CHAR(18) PRIMARY KEY, utime DATETIME, ssid INT, aid INT, "
      "channel INT, tx_rate VARCHAR(20), rx_rate VARCHAR(20), rssi INT, idle INT UNSIGNED, tx_seq "
      "INT, rx_seq INT) ENGINE=MyISAM");
  for (int ap = 2; ap <= pass.aps + 1; ++ap) {
    server.rows(kit::format("CREATE TABLE AP_CLIENT.AP_%03d LIKE AP_CLIENT.AP_001", ap));
  }
  server.rows(kit::format(
      "INSERT INTO AP_CLIENT.AP_001 SELECT CONCAT('06:', HEX(seq)), NOW(), 1, seq, 36, '65M', "
      "'65M', 30, seq, 0, 0 FROM AP_CLIENT.seq_1_to_%d",
      pass.stations));
}

struct Cost {
  double statements, ms;
};

/// What a report cycle costs. The report cannot be read, so nothing but the rules runs.
Cost cycle(Server& server, const char* balancing) {
  kit::write_file("/etc/ap-run/platform.ini", std::string("[settings]\n79 = ") + balancing + "\n");
  std::vector<double> statements, ms;
  for (int round = 0; round < kRounds; ++round) {
    server.rows("DELETE FROM AP_CLIENT.block");
    const kit::Words hook = deliver(kAp, "no report\n");
    const double before = server.statements();
    ms.push_back(kit::run(hook).wall_ms);
    statements.push_back(server.statements() - before - 1);
  }
  return {median(statements), median(ms)};
}

}  // namespace

Section measure_steering(Bench& bench) {
  Server& server = bench.server;
  std::vector<Pass> passes;
  const std::vector<std::pair<int, int>> sizes{{50, 64}, {100, 128}, {200, 256}, {200, 128}};
  for (const auto& [aps, stations] : sizes) {
    for (const int near : {1, aps}) {
      Pass pass{aps, stations, near};
      say(kit::format("load-balancing pass %d/%d, %d near", aps, stations, near));
      build(server, pass);
      const Cost without = cycle(server, "0");
      const Cost with = cycle(server, "1");
      pass.statements = with.statements - without.statements;
      pass.ms = with.ms - without.ms;
      for (const std::string& line : kit::lines_of(command_of(kAp))) {
        pass.lines += line.starts_with("kick") || line.starts_with("block") ? 1 : 0;
      }
      passes.push_back(pass);
    }
    if (bench.effort == Effort::quick) {
      break;
    }
  }
  using P = const Pass&;
  Section section{"Load-balancing pass", {}, {}, ""};
  for (const Pass& pass : passes) {
    section.columns.push_back(kit::format("%d/%d", pass.aps, pass.stations));
  }
  section.rows = rows_of<Pass>(passes, {{"APs", "", [](P p) { return p.aps; }},
                                        {"stations", "", [](P p) { return p.stations; }},
                                        {"near", "", [](P p) { return p.near; }},
                                        {"kick, block", "", [](P p) { return p.lines; }},
                                        {"statements", "", [](P p) { return p.statements; }},
                                        {"ms", "", [](P p) { return p.ms; }}});
  section.note =
      "By APs that are heard, stations, and how many APs would serve each station.\nCompare columns "
      "of as many stations: more APs that would serve them should cost little.";
  return section;
}
