#include "steering/block_stages.h"

#include <algorithm>
#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/limits.h"
#include "steering/numbered_lines.h"
#include "trace/trace_log.h"
#include "values/client_record.h"
#include "values/decimal.h"

namespace {

constexpr const char* kIdleStage = "ap_block_idle_rule";
constexpr const char* kSnrStage = "ap_block_snr_rule";

/// Bytes of a text column that a record keeps.
constexpr std::size_t kLongestText = 19;

// Columns of the queries below.
constexpr unsigned int kIdleColumn = 8;
constexpr unsigned int kFiveGhzColumn = 11;

/// The station in a row of an AP's client table. The columns have the order of the record, with `utime`
/// in the second place.
client_record read_client(const Row& row) {
  const auto text = [&](unsigned int column) { return row.text(column).substr(0, kLongestText); };
  const auto number = [&](unsigned int column) { return decimal(row[column].value_or("")); };
  return {.mac = text(0),
          .ssid = cut_to<std::uint32_t>(number(2)),
          .aid = cut_to<std::uint16_t>(number(3)),
          .channel = cut_to<std::uint16_t>(number(4)),
          .tx_rate = text(5),
          .rx_rate = text(6),
          .rssi = cut_to<std::int32_t>(number(7)),
          .idle = cut_to<std::uint32_t>(number(kIdleColumn)),
          .tx_seq = cut_to<std::uint32_t>(number(9)),
          .rx_seq = cut_to<std::uint32_t>(number(10))};
}

/// A station that could be refused.
struct Candidate {
  client_record client;
  bool five_ghz = false;

  int profile() const { return cut_to<int>(client.ssid); }
};

Query candidates_query(int sn) {
  return query(
      Step(kSnrStage, "(1/2) "),
      "SELECT `mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, `idle`, "
      "`tx_seq`, `rx_seq`, IF(`channel` > 14, 1, 0) AS `is5G` FROM `%s`.`AP_%03d` WHERE `rssi` > "
      "'%d' ORDER BY `rssi` DESC, `idle` DESC ",
      AP_CLIENT, sn, limits::kLink);
}

/// Finds the APs that would serve a station as well, the loudest first.
Query alternatives_query(int sn, const SqlText& ssid, const Candidate& candidate) {
  return query(Step(kSnrStage, "(2/2) "),
               "SELECT `ap` FROM `%s`.`legal` WHERE `ap`!=%d AND `refer_ap`=%d AND "
               "CAST(`signal` AS SIGNED)>%d AND `essid`='%s' AND `channel`%s14 "
               "ORDER BY CAST(`signal` AS SIGNED) DESC",
               AP_CLIENT, sn, sn, limits::kNeighbourSignal, ssid,
               candidate.five_ghz ? SqlName(">") : SqlName("<="));
}

/// Fetches ahead what `consider` will ask about each of these candidates.
void fetch_ahead(Ap& ap, std::span<const Candidate> candidates) {
  for (const Candidate& candidate : candidates) {
    ap.db.fetch_ahead(profile_ssid_query(candidate.profile()));
  }
  const auto alternatives = [&](const Candidate& candidate) {
    const SqlText ssid = peek_profile_ssid(ap.db, candidate.profile()).value_or(SqlText());
    return alternatives_query(ap.sn, ssid, candidate);
  };
  for (const Candidate& candidate : candidates) {
    ap.db.fetch_ahead(alternatives(candidate));
  }
  for (const Candidate& candidate : candidates) {
    if (ap.db.peek(alternatives(candidate)).count() > 0) {
      ap.db.fetch_ahead(block_exists_query(candidate.client.mac));
    }
  }
  for (const Candidate& candidate : candidates) {
    const Rows& blocks = ap.db.peek(block_exists_query(candidate.client.mac));
    if (blocks && blocks.count() == 0) {
      ap.db.fetch_ahead(block_add_query(candidate.client.mac));
    }
  }
}

/// Refuses the station, with a line, if another AP would serve it and no AP refuses it yet.
void consider(Ap& ap, int ret, const Candidate& candidate, NumberedLines& lines,
              Findings& findings) {
  const std::string& mac = candidate.client.mac;
  Findings::Candidate& found = findings.candidates.emplace_back(
      Findings::Candidate{mac, candidate.client.rssi, 0, Findings::Fate::no_neighbour});
  const SqlText ssid = get_profile_ssid_by_sn(ap.db, candidate.profile()).value_or(SqlText());
  Rows others = ap.db.ask_noting_none(alternatives_query(ap.sn, ssid, candidate));
  if (const std::optional<Row> loudest = others.next()) {
    found.taker = loudest->number(0);
    found.fate = Findings::Fate::refused_already;
  }
  bool is_refused = false;  // by any AP
  for (std::uint64_t i = 0; i < others.count() && lines.count() < ret; ++i) {
    if (is_refused && !is_tracing()) {
      return;  // the queries that remain would only repeat that in the trace
    }
    is_refused = ap_block_exists(ap.db, mac);
    if (!is_refused && ap_block_add(ap.db, ap.sn, candidate.client)) {
      is_refused = true;
      found.fate = Findings::Fate::refused;
      lines.add(mac, ap.db, Step(kSnrStage, "(2/2) "));
    }
  }
}

/// Disconnects the longest idle stations: their "kick" lines.
std::string ap_block_idle_rule(Ap& ap, int ret, Findings& found) {
  const Step step(kIdleStage, "(1/1) ");
  Rows rows = ap.db.ask_noting_none(
      query(step,
            "SELECT `mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, "
            "`idle`, `tx_seq`, `rx_seq` FROM `%s`.`AP_%03d` WHERE `idle` > '%d' ORDER BY "
            "`idle` DESC LIMIT %d",
            AP_CLIENT, ap.sn, limits::kIdle, ret));
  NumberedLines lines("kick");
  for (const Row& row : rows) {
    const auto& [mac, idle] =
        found.kicks.emplace_back(Findings::Kick{row.text(0), row.number(kIdleColumn)});
    ap.db.note(step, "%s has been idle for %d seconds", mac.c_str(), idle);
    lines.add(mac, ap.db, step);
  }
  return lines.text();
}

/// Refuses the stations with the best link that another AP would serve: their "block" lines.
std::string ap_block_snr_rule(Ap& ap, int ret, Findings& found) {
  Rows rows = ap.db.ask_noting_none(candidates_query(ap.sn));
  std::vector<Candidate> candidates;
  for (const Row& row : rows) {
    candidates.push_back({read_client(row), row.number(kFiveGhzColumn) != 0});
  }
  NumberedLines lines("block");
  std::span<const Candidate> rest = candidates;
  while (!rest.empty() && lines.count() < ret) {
    // No more than can still be refused: all of these will be considered.
    const auto room = static_cast<std::size_t>(ret - lines.count());
    const std::span<const Candidate> next =
        rest.first(std::min({rest.size(), room, kMostSentAhead}));
    fetch_ahead(ap, next);
    for (const Candidate& candidate : next) {
      consider(ap, ret, candidate, lines, found);
    }
    rest = rest.subspan(next.size());
  }
  return lines.text();
}

}  // namespace

std::string send_away(Ap& ap, int ret, Findings& found) {
  ap.db.fetch_ahead(candidates_query(ap.sn));
  const std::string kicks = ap_block_idle_rule(ap, ret, found);
  return kicks + ap_block_snr_rule(ap, ret, found);
}
