#include "steering/block_release.h"

#include <algorithm>
#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/numbered_lines.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kOperation = "ap_release_block_rule";

/// Line marker under which the lists of stations are traced. Administrators' scripts know it.
constexpr int kAtNeighbour = 489;

using Refused = Findings::Block;

/// Finds the managed APs that the AP `sn` hears on an SSID.
Query neighbours_query(int sn, const SqlText& ssid) {
  return query(Step(kOperation, "(2/2) "),
               "SELECT `ap`,`essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND `essid`='%s'",
               AP_CLIENT, sn, ssid);
}

Query client_query(int other_sn, const std::string& client_mac) {
  Query client = query(Step("findClientByMac", "        "),
                       "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')", AP_CLIENT, other_sn,
                       client_mac);
  client.may_lack_table = true;
  return client;
}

/// Fetches ahead what `may_come_back` will ask about each of these stations.
void fetch_ahead(Ap& ap, std::span<const Refused> stations) {
  for (const Refused& station : stations) {
    ap.db.fetch_ahead(profile_ssid_query(station.profile));
  }
  for (const Refused& station : stations) {
    if (const std::optional<SqlText> ssid = peek_profile_ssid(ap.db, station.profile)) {
      ap.db.fetch_ahead(neighbours_query(ap.sn, *ssid));
    }
  }
  for (const Refused& station : stations) {
    const std::optional<SqlText> ssid = peek_profile_ssid(ap.db, station.profile);
    if (const auto first =
            ssid ? ap.db.peek(neighbours_query(ap.sn, *ssid)).next() : std::nullopt) {
      ap.db.fetch_ahead(client_query(first->number(0), station.mac));
    }
  }
}

/// Writes the stations of the AP `other_sn` to the trace. While tracing is off they are not read.
void ap_client_count(Connection& db, int other_sn) {
  if (!is_tracing()) {
    return;
  }
  Query list =
      query(Step("ap_client_count"), "SELECT `mac` FROM `%s`.`AP_%03d`", AP_CLIENT, other_sn);
  list.may_lack_table = true;
  Rows rows = db.ask(list);
  const int count = static_cast<int>(rows.count());
  int number = 0;
  for (const Row& row : rows) {
    db.note(list.step, "**CLIENT %03d LIST** (%d/%d) callby=>%s:%d, client_mac:%s", other_sn,
            ++number, count, kOperation, kAtNeighbour, row.text(0).c_str());
  }
}

bool serves(Connection& db, int neighbour, const Refused& station, const SqlText& ssid) {
  ap_client_count(db, neighbour);
  const bool found = db.ask(client_query(neighbour, station.mac)).count() > 0;
  db.note(Step(kOperation, "        "), "%s client %s in %s(AP_%03d)", found ? "Found" : "No",
          station.mac.c_str(), ssid.text().c_str(), neighbour);
  return found;
}

/// The number of the neighbour that serves the station; 0 when there is none, so that its block is
/// lifted. None when its SSID is not known.
std::optional<int> keeper_of(Ap& ap, const Refused& station) {
  const std::optional<SqlText> ssid = get_profile_ssid_by_sn(ap.db, station.profile);
  if (!ssid) {
    return std::nullopt;
  }
  Rows neighbours = ap.db.ask_noting_none(neighbours_query(ap.sn, *ssid));
  for (const Row& row : neighbours) {
    if (serves(ap.db, row.number(0), station, *ssid)) {
      return row.number(0);
    }
  }
  return 0;
}

}  // namespace

std::string ap_release_block_rule(Ap& ap, Findings& found) {
  ap.look_up();
  Rows blocks = ap.db.ask_noting_none(
      query(Step(kOperation, "(1/2) "),
            "SELECT `ssid`, `mac` FROM `%s`.`block` WHERE `refer_ap_sn`=%d", AP_CLIENT, ap.sn));
  std::vector<Refused>& stations = found.blocks;
  for (const Row& row : blocks) {
    stations.push_back({row.number(0), row.text(1), std::nullopt});
  }
  NumberedLines lines("release");
  for (std::size_t i = 0; i < stations.size(); ++i) {
    if (i % kMostSentAhead == 0) {
      const std::size_t more = std::min(stations.size() - i, kMostSentAhead);
      fetch_ahead(ap, std::span<const Refused>(stations).subspan(i, more));
    }
    stations[i].keeper = keeper_of(ap, stations[i]);
    if (stations[i].keeper == 0) {
      ap_block_remove_client(ap, stations[i].mac, kOperation);
      lines.add(stations[i].mac, ap.db, Step(kOperation, "(2/2) "));
    }
  }
  return lines.text();
}
