#include "steering/load_balance.h"

#include <optional>

#include "db/schema.h"
#include "steering/block_stages.h"
#include "steering/block_table.h"
#include "steering/demand.h"
#include "steering/release_checks.h"

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
  std::string kicks = ap_block_idle_rule(ap, ret, found);
  return kicks + ap_block_snr_rule(ap, ret, found);
}

/// The stages from the AP's station count to the lines; none when all blocks must go.
std::optional<std::string> balance(Ap& ap, int amount, Findings& found) {
  if (amount == kLoneClient) {
    ap.db.note(Step(kOperation), "%s ==>amount:%d <= %d matched, Need To Release All Block",
               ap.mac.c_str(), amount, kLoneClient);
    return std::nullopt;
  }
  std::string lines = amount > limits::kClientQuota ? relieve(ap, amount, found) : "";
  if (ap_release_ssid_rule(ap, found) || ap_release_signal_rule(ap, found)) {
    ap.db.note(Step(kOperation),
               "%s ==>ssid rule OR signal rule matched, Need To Release All Block", ap.mac.c_str());
    return std::nullopt;
  }
  return lines;
}

}  // namespace

std::optional<std::string> ap_load_balance_rule(Ap& ap, Findings& found) {
  if (!ap.db.open()) {
    return std::nullopt;
  }
  ap.look_up();
  const int amount = get_ap_client_amount(ap.db, ap.sn);
  ap_block_count(ap.db, kOperation, kAtStart);
  found.amount = amount;
  std::optional<std::string> lines = balance(ap, amount, found);
  found.release_all = !lines;
  ap_block_count(ap.db, kOperation, kAtEnd);
  return lines;
}
