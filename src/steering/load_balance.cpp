#include "steering/load_balance.h"

#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_stages.h"
#include "steering/block_table.h"
#include "steering/demand.h"
#include "steering/limits.h"

namespace {

constexpr const char* kOperation = "ap_load_balance_rule";

/// With a single station nobody is in anybody's way.
constexpr int kLoneClient = 1;

/// Line markers under which the block table is traced at the start and at the end of a pass.
/// Administrators' scripts know them.
constexpr int kAtStart = 535;
constexpr int kAtEnd = 560;

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
    ap.db.note(second, "max:%d = %s", share.max, share.whole ? "avg" : "avg + 1");
    ap.db.note(second, "ret:%d = users:%d - max:%d", ret, demand.users, share.max);
  }
  return ret;
}

/// The "kick" and "block" lines of a crowded AP.
std::string relieve(Ap& ap, int amount, Findings& found) {
  const int ret = get_available_demand(ap, amount, found);
  if (ret <= 0) {
    return "";
  }
  fetch_block_candidates(ap);
  const std::string kicks = ap_block_idle_rule(ap, ret, found);
  return kicks + ap_block_snr_rule(ap, ret, found);
}

/// Makes the query for who hears, or is heard on, an SSID.
using HearingQuery = Query (*)(const Step& step, int sn, const std::string& ssid);

/// The SSIDs that the AP broadcasts.
std::vector<std::string> own_ssids(Ap& ap, const Step& step) {
  Rows own = ap.db.ask_noting_none(query(
      step, "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0", AP_CLIENT, ap.sn));
  std::vector<std::string> ssids;
  for (const Row& row : own) {
    ssids.push_back(row.text(0));
  }
  return ssids;
}

/// One rule, under its name: the check for each SSID of the AP. Tells `found` which SSID is lost.
bool check(Ap& ap, const char* operation, HearingQuery hearing_query, Findings& found) {
  const Step second(operation, "(2/2) ");
  const std::vector<std::string> ssids = own_ssids(ap, Step(operation, "(1/2) "));
  for (const std::string& ssid : ssids) {
    ap.db.fetch_ahead(profile_sn_query(ssid));
    ap.db.fetch_ahead(hearing_query(second, ap.sn, ssid));
  }
  for (const std::string& ssid : ssids) {
    const int profile = get_profile_sn_by_ssid(ap.db, ssid);
    const Rows hearing = ap.db.ask(hearing_query(second, ap.sn, ssid));
    if (hearing.count() > 0) {
      ap.db.note(second, "no matched.");
    } else if (hearing && ap_release_rule(ap, profile)) {
      found.lost_ssid = ssid;
      return true;
    }
  }
  return false;
}

Query heard_by_others(const Step& step, int sn, const std::string& ssid) {
  return query(step,
               "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`!=0 AND `essid`='%s'",
               AP_CLIENT, sn, SqlText::escaped_or_empty(ssid));
}

Query heard_by_itself(const Step& step, int sn, const std::string& ssid) {
  return query(step,
               "SELECT `essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND `essid`='%s' AND "
               "CAST(`signal` AS SIGNED) > %d",
               AP_CLIENT, sn, SqlText::escaped_or_empty(ssid), limits::kKeepSignal);
}

/// Whether the AP has to give up all its blocks, because the stations that it refuses may find nobody
/// else: for one of its SSIDs it holds blocks, and no other AP hears it there (the SSID rule), or it
/// hears nobody above -75 dBm itself (the signal rule).
bool must_release_all(Ap& ap, Findings& found) {
  found.is_heard_by_nobody = check(ap, "ap_release_ssid_rule", heard_by_others, found);
  if (found.is_heard_by_nobody) {
    return true;
  }
  ap.look_up();
  return check(ap, "ap_release_signal_rule", heard_by_itself, found);
}

/// The stages from the AP's station count to the lines, or to the finding that all blocks must go.
std::string balance(Ap& ap, int amount, Findings& found) {
  found.release_all = amount == kLoneClient;
  if (found.release_all) {
    ap.db.note(Step(kOperation), "%s ==>amount:%d <= %d matched, Need To Release All Block",
               ap.mac.c_str(), amount, kLoneClient);
    return "";
  }
  std::string lines = amount > limits::kClientQuota ? relieve(ap, amount, found) : "";
  found.release_all = must_release_all(ap, found);
  if (found.release_all) {
    ap.db.note(Step(kOperation),
               "%s ==>ssid rule OR signal rule matched, Need To Release All Block", ap.mac.c_str());
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
  ap_block_count(ap.db, kOperation, kAtStart);
  found.amount = amount;
  std::string lines = balance(ap, amount, found);
  ap_block_count(ap.db, kOperation, kAtEnd);
  return lines;
}
