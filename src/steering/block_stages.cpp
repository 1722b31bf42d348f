#include "steering/block_stages.h"

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/choice.h"
#include "trace/trace_log.h"
#include "values/client_record.h"
#include "values/decimal.h"

namespace {

constexpr const char* kIdleStage = "ap_block_idle_rule";
constexpr const char* kSnrStage = "ap_block_snr_rule";

/// A station that has been silent for longer is not missed, in seconds.
constexpr int kIdleThreshold = 30;

/// A station with a better link (no unit, as the AP reports it) is close enough to find another AP.
constexpr int kLinkThreshold = 20;

/// Another AP that is heard above this level, in dBm, is near enough to take a station over.
constexpr int kNeighbourSignal = -70;

/// Candidates that are asked about at once: about as many as can be sent ahead, so that what is
/// kept of them does not grow with the AP.
constexpr std::size_t kAtOnce = 32;

/// Bytes of a text column that a record keeps.
constexpr std::size_t kLongestText = 19;

/// The station in a row of an AP's client table, columns in the order of the record.
client_record read_client(const Row& row) {
  const auto text = [&](unsigned int column) { return row.text(column).substr(0, kLongestText); };
  const auto number = [&](unsigned int column) { return decimal(row[column].value_or("")); };
  client_record client;
  client.mac = text(0);
  client.utime = cut_to<std::uint32_t>(number(1));
  client.ssid = cut_to<std::uint32_t>(number(2));
  client.aid = cut_to<std::uint16_t>(number(3));
  client.channel = cut_to<std::uint16_t>(number(4));
  client.tx_rate = text(5);
  client.rx_rate = text(6);
  client.rssi = cut_to<std::int32_t>(number(7));
  client.idle = cut_to<std::uint32_t>(number(8));
  client.tx_seq = cut_to<std::uint32_t>(number(9));
  client.rx_seq = cut_to<std::uint32_t>(number(10));
  return client;
}

/// A station that could be refused, and what has been asked about it, ahead of its place in the
/// trace.
struct Candidate {
  client_record client;
  bool five_ghz = false;
  std::optional<Question> ssid;
  std::optional<Question> heard;   // the APs that would serve it
  std::optional<Question> exists;  // asked when there are any
  bool answered = false;           // the query for them did not fail
  BlockCandidate facts;
};

using Candidates = std::span<Candidate>;

Question ask_alternatives(Connection& db, int sn, const std::string& ssid, bool five_ghz) {
  return db.ask_ahead(Step(kSnrStage, "(2/2) "),
                      "SELECT `ap` FROM `%s`.`legal` WHERE `ap`!=%d AND `refer_ap`=%d AND "
                      "CAST(`signal` AS SIGNED)>%d AND `essid`='%s' AND `channel`%s14 "
                      "ORDER BY CAST(`signal` AS SIGNED) DESC",
                      AP_CLIENT, sn, sn, kNeighbourSignal, ssid.c_str(), five_ghz ? ">" : "<=");
}

/// Fills in the facts of all candidates, one round trip for each kind of question.
void inquire(Connection& db, int sn, Candidates candidates) {
  for (Candidate& candidate : candidates) {
    candidate.ssid = ask_profile_ssid(db, cut_to<int>(candidate.client.ssid));
  }
  for (Candidate& candidate : candidates) {
    candidate.heard =
        ask_alternatives(db, sn, profile_ssid(*candidate.ssid).value_or(""), candidate.five_ghz);
  }
  for (Candidate& candidate : candidates) {
    const Rows rows = candidate.heard->rows();
    candidate.answered = static_cast<bool>(rows);
    candidate.facts.alternatives = rows.count();
    if (candidate.facts.alternatives > 0) {
      candidate.exists = ask_block_exists(db, candidate.client.mac);
    }
  }
  for (Candidate& candidate : candidates) {
    candidate.facts.refused = candidate.exists && ap_block_exists(*candidate.exists);
  }
}

/// Looks the station up once more for each further AP that would serve it. By then it is refused,
/// by us or by another AP, so that only the trace has something from it: among many neighbours
/// these looks would be nearly all that a pass does.
void look_again(Connection& db, const Candidate& candidate) {
  if (!is_tracing()) {
    return;
  }
  std::vector<Question> looks;
  for (std::size_t i = 1; i < candidate.facts.alternatives; ++i) {
    looks.push_back(ask_block_exists(db, candidate.client.mac));
  }
  for (const Question& asked : looks) {
    trace_block_exists(db, asked, candidate.client.mac, ap_block_exists(asked));
  }
}

enum class Chosen { no, yes };

/// Traces what was found out about a candidate and refuses it if it is chosen.
void settle(Connection& db, int sn, int ret, const Candidate& candidate, Chosen chosen,
            NumberedLines& lines) {
  const Step second(kSnrStage, "(2/2) ");
  candidate.ssid->trace();
  candidate.heard->trace();
  if (!candidate.exists) {
    if (candidate.answered) {
      db.note(second, "no matched.");
    }
    return;
  }
  trace_block_exists(db, *candidate.exists, candidate.client.mac, candidate.facts.refused);
  if (chosen == Chosen::yes && ap_block_add(db, sn, candidate.client)) {
    lines.add(candidate.client.mac);
    db.note(second, "@@ %s", lines.text().c_str());
    if (lines.count() == ret) {
      return;
    }
  }
  look_again(db, candidate);
}

/// Works off candidates of which all have to be considered, because even if each of them is refused
/// the limit is not exceeded.
void work_off(Connection& db, int sn, int ret, Candidates candidates, NumberedLines& lines) {
  inquire(db, sn, candidates);
  std::vector<BlockCandidate> facts;
  for (const Candidate& candidate : candidates) {
    facts.push_back(candidate.facts);
  }
  const std::vector<std::size_t> chosen = choose_blocks(facts, ret - lines.count());
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const bool is_chosen = std::binary_search(chosen.begin(), chosen.end(), i);
    settle(db, sn, ret, candidates[i], is_chosen ? Chosen::yes : Chosen::no, lines);
  }
}

}  // namespace

std::string ap_block_idle_rule(Connection& db, int sn, int ret) {
  const Step step(kIdleStage, "(1/1) ");
  Rows rows =
      db.ask(step,
             "SELECT `mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, "
             "`idle`, `tx_seq`, `rx_seq` FROM `%s`.`AP_%03d` WHERE `idle` > '%d' ORDER BY `idle` "
             "DESC LIMIT %d",
             AP_CLIENT, sn, kIdleThreshold, ret)
          .rows();
  if (rows && rows.count() == 0) {
    db.note(step, "no matched.");
  }
  NumberedLines lines("kick");
  for (const Row& row : rows) {
    lines.add(read_client(row).mac);
    db.note(step, "@@ %s", lines.text().c_str());
  }
  return lines.text();
}

Question ask_block_candidates(Connection& db, int sn) {
  return db.ask_ahead(
      Step(kSnrStage, "(1/2) "),
      "SELECT `mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, `rx_rate`, `rssi`, `idle`, "
      "`tx_seq`, `rx_seq`, IF(`channel` > 14, 1, 0) AS `is5G` FROM `%s`.`AP_%03d` WHERE `rssi` > "
      "'%d' ORDER BY `rssi` DESC, `idle` DESC ",
      AP_CLIENT, sn, kLinkThreshold);
}

std::string ap_block_snr_rule(Connection& db, const Question& asked, int sn, int ret) {
  asked.trace();
  Rows rows = asked.rows();
  if (rows && rows.count() == 0) {
    db.note(Step(kSnrStage, "(1/2) "), "no matched.");
  }
  std::vector<Candidate> candidates;
  for (const Row& row : rows) {
    candidates.emplace_back().client = read_client(row);
    candidates.back().five_ghz = row.number(11) != 0;
  }
  NumberedLines lines("block");
  for (std::size_t done = 0; done < candidates.size() && lines.count() < ret;) {
    const auto room = static_cast<std::size_t>(ret - lines.count());
    const std::size_t run = std::min({candidates.size() - done, room, kAtOnce});
    work_off(db, sn, ret, Candidates(candidates).subspan(done, run), lines);
    done += run;
  }
  return lines.text();
}
