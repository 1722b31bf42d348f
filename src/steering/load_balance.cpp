#include "steering/load_balance.h"

#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_stages.h"
#include "steering/demand.h"
#include "steering/limits.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kOperation = "ap_load_balance_rule";

/// The number of stations with which no AP needs to refuse any.
constexpr int kLoneClient = 1;

/// Line markers under which the block table is traced at the start and at the end of a pass.
/// Administrators' scripts know them.
constexpr int kAtStart = 535;
constexpr int kAtEnd = 560;

/// Counts the stations in the client table of an AP.
Query client_amount_query(int sn) {
  Query amount =
      query(Step("get_ap_client_amount"), "SELECT COUNT(*) FROM `%s`.`AP_%03d`", AP_CLIENT, sn);
  amount.may_lack_table = true;
  return amount;
}

/// The number of stations; 0 when the AP has no client table.
int get_ap_client_amount(Connection& db, int sn) {
  const Query counted = client_amount_query(sn);
  Rows rows = db.ask(counted);
  const std::optional<Row> row = rows.next();
  const int amount = row ? row->number(0) : 0;
  if (row) {
    db.note(counted.step, "amount:%d", amount);
  }
  return amount;
}

/// Writes the whole block table to the trace, under a line marker. While tracing is off it is not
/// read.
void ap_block_count(Connection& db, int line_marker) {
  if (!is_tracing()) {
    return;
  }
  Rows rows = db.ask(untraced, "SELECT `mac`, `refer_ap_sn` FROM `%s`.`block`", AP_CLIENT);
  const int count = static_cast<int>(rows.count());
  int number = 0;
  for (const Row& row : rows) {
    db.note(Step("ap_block_count"),
            "**BLOCK LIST** (%d/%d) callby=>%s:%d, client_mac:%s, block_ap:%s", ++number, count,
            kOperation, line_marker, row.text(0).c_str(), row.text(1).c_str());
  }
}

/// How many of the AP's `amount` stations to move to the managed APs that it hears.
int get_available_demand(Ap& ap, int amount, Findings& found) {
  static constexpr const char* kStage = "get_available_demand";
  const Step second(kStage, "(2/2) ");
  for (const Row& row : ap.db.ask(Step(kStage, "(1/2) "),
                                  "SELECT `ap` FROM `%s`.`legal` WHERE `refer_ap`=%d GROUP BY `ap`",
                                  AP_CLIENT, ap.sn)) {
    found.neighbours.push_back({row.number(0), 0});
    ap.db.fetch_ahead(client_amount_query(row.number(0)));
  }
  Demand& demand = found.demand.emplace(amount);
  for (Findings::Neighbour& neighbour : found.neighbours) {
    neighbour.clients = get_ap_client_amount(ap.db, neighbour.sn);
    demand.add_neighbour(neighbour.clients);
    ap.db.note(second, "Amount:%d, Count:%d", neighbour.clients, demand.avail);
  }
  const int ret = stations_to_move(demand);
  if (!demand.fits()) {
    const Share share = share_of(demand);
    ap.db.note(second, "avg:%d = (users:%d + diff:%d) / (aps:%d + 1)", share.avg, demand.users,
               demand.diff, demand.aps);
    ap.db.note(second, "max:%d = %s", share.max, share.max == share.avg ? "avg" : "avg + 1");
    ap.db.note(second, "ret:%d = users:%d - max:%d", ret, demand.users, share.max);
  }
  return ret;
}

/// The "kick" and "block" lines of a crowded AP.
std::string relieve(Ap& ap, int amount, Findings& found) {
  const int ret = get_available_demand(ap, amount, found);
  return ret > 0 ? send_away(ap, ret, found) : "";
}

/// Whether the AP refuses at least one station of an SSID profile.
bool ap_release_rule(Ap& ap, int profile) {
  const Step step("ap_release_rule", "        (1/1) ");
  ap.look_up();
  const Rows blocks =
      ap.db.ask(step, "SELECT * FROM `%s`.`block` WHERE `ssid`=%d AND `refer_ap_sn`=%d", AP_CLIENT,
                profile, ap.sn);
  if (blocks && blocks.count() == 0) {
    ap.db.note(step, "no matched");
  }
  return blocks.count() > 0;
}

/// Whether, for an SSID that the AP broadcasts, it holds blocks and the query that `hearing_query` makes
/// finds nobody; `found` gets the SSID. The trace shows it as `operation`.
template <typename HearingQuery>
bool check(Ap& ap, const char* operation, Findings& found, HearingQuery hearing_query) {
  const Step second(operation, "(2/2) ");
  Rows own = ap.db.ask_noting_none(
      query(Step(operation, "(1/2) "),
            "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0", AP_CLIENT, ap.sn));
  std::vector<std::string> ssids;
  for (const Row& row : own) {
    const std::string& ssid = ssids.emplace_back(row.text(0));
    ap.db.fetch_ahead(profile_sn_query(ssid));
    ap.db.fetch_ahead(hearing_query(second, SqlText::escaped_or_empty(ssid)));
  }
  for (const std::string& ssid : ssids) {
    const int profile = get_profile_sn_by_ssid(ap.db, ssid);
    const Rows hearing = ap.db.ask(hearing_query(second, SqlText::escaped_or_empty(ssid)));
    if (hearing.count() > 0) {
      ap.db.note(second, "no matched.");
    } else if (hearing && ap_release_rule(ap, profile)) {
      found.lost_ssid = ssid;
      return true;
    }
  }
  return false;
}

/// Whether all blocks of the AP must go, because stations that it refuses may find no other AP: for one
/// of its SSIDs it holds blocks, and no other AP hears it there (the SSID rule), or it hears none above
/// -75 dBm itself (the signal rule).
bool must_release_all(Ap& ap, Findings& found) {
  const auto heard_by_others = [&](const Step& step, const SqlText& ssid) {
    return query(
        step, "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`!=0 AND `essid`='%s'",
        AP_CLIENT, ap.sn, ssid);
  };
  const auto heard_by_itself = [&](const Step& step, const SqlText& ssid) {
    return query(step,
                 "SELECT `essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND `essid`='%s' AND "
                 "CAST(`signal` AS SIGNED) > %d",
                 AP_CLIENT, ap.sn, ssid, limits::kKeepSignal);
  };
  found.is_heard_by_nobody = check(ap, "ap_release_ssid_rule", found, heard_by_others);
  if (found.is_heard_by_nobody) {
    return true;
  }
  ap.look_up();
  return check(ap, "ap_release_signal_rule", found, heard_by_itself);
}

/// The lines for an AP that serves `amount` stations; none when all its blocks must go.
std::string balance(Ap& ap, int amount, Findings& found) {
  if (amount == kLoneClient) {
    ap.db.note(Step(kOperation), "%s ==>amount:%d <= %d matched, Need To Release All Block",
               ap.mac.c_str(), amount, kLoneClient);
    found.release_all = true;
    return "";
  }
  std::string lines = amount > limits::kClientQuota ? relieve(ap, amount, found) : "";
  if (must_release_all(ap, found)) {
    ap.db.note(Step(kOperation),
               "%s ==>ssid rule OR signal rule matched, Need To Release All Block", ap.mac.c_str());
    found.release_all = true;
    return "";
  }
  return lines;
}

}  // namespace

std::string ap_load_balance_rule(Ap& ap, Findings& found) {
  if (!ap.db.open()) {
    return "";
  }
  ap.look_up();
  const int amount = get_ap_client_amount(ap.db, ap.sn);
  ap_block_count(ap.db, kAtStart);
  found.amount = amount;
  std::string lines = balance(ap, amount, found);
  ap_block_count(ap.db, kAtEnd);
  return lines;
}
