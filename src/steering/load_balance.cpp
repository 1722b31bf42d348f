#include "steering/load_balance.h"

#include <optional>
#include <vector>

#include "db/connection.h"
#include "db/registry.h"
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
constexpr int kAtStart = 535;
constexpr int kAtEnd = 560;

/// How many of the AP's `amount` stations to move to the managed APs that it hears.
int get_available_demand(Connection& db, int sn, int amount) {
  static constexpr const char* kStage = "get_available_demand";
  const Step second(kStage, "(2/2) ");
  std::vector<Question> counts;
  for (const Row& row :
       db.ask(Step(kStage, "(1/2) "),
              "SELECT `ap` FROM `%s`.`legal` WHERE `refer_ap`=%d GROUP BY `ap`", AP_CLIENT, sn)
           .rows()) {
    counts.push_back(ask_ap_client_amount(db, row.number(0)));
  }
  Demand demand(amount);
  for (const Question& asked : counts) {
    const int clients = get_ap_client_amount(db, asked);
    demand.add_neighbour(clients);
    db.note(second, "Amount:%d, Count:%d", clients, demand.avail);
  }
  const int ret = stations_to_move(demand);
  if (!demand.fits()) {
    const Share share = share_of(demand);
    db.note(second, "avg:%d = (users:%d + diff:%d) / (aps:%d + 1)", share.avg, demand.users,
            demand.diff, demand.aps);
    db.note(second, "max:%d = %s", share.max, share.whole ? "avg" : "avg + 1");
    db.note(second, "ret:%d = users:%d - max:%d", ret, demand.users, share.max);
  }
  return ret;
}

/// The "kick" and "block" lines of a crowded AP.
std::string relieve(Connection& db, int sn, int amount) {
  const int ret = get_available_demand(db, sn, amount);
  if (ret <= 0) {
    return "";
  }
  const Question well_received = ask_block_candidates(db, sn);
  std::string kicks = ap_block_idle_rule(db, sn, ret);
  return kicks + ap_block_snr_rule(db, well_received, sn, ret);
}

/// The stages from the AP's station count to the lines; none when all blocks must go.
std::optional<std::string> balance(Connection& db, const std::string& mac, int sn, int amount) {
  if (amount == kLoneClient) {
    db.note(Step(kOperation), "%s ==>amount:%d <= %d matched, Need To Release All Block",
            mac.c_str(), amount, kLoneClient);
    return std::nullopt;
  }
  std::string lines = amount > kClientQuota ? relieve(db, sn, amount) : "";
  if (ap_release_ssid_rule(db, mac, sn) || ap_release_signal_rule(db, mac)) {
    db.note(Step(kOperation), "%s ==>ssid rule OR signal rule matched, Need To Release All Block",
            mac.c_str());
    return std::nullopt;
  }
  return lines;
}

}  // namespace

std::optional<std::string> ap_load_balance_rule(const std::string& mac, ReleaseAll& release_all) {
  Connection db(mac);
  if (!db) {
    return std::nullopt;
  }
  const std::optional<Question> blocks = ask_block_list(db);
  const int sn = get_ap_sn_by_mac(db, mac);
  const int amount = get_ap_client_amount(db, sn);
  ap_block_count(db, blocks, kOperation, kAtStart);
  std::optional<std::string> lines = balance(db, mac, sn, amount);
  if (!lines) {
    release_all = ReleaseAll::yes;
  }
  ap_block_count(db, ask_block_list(db), kOperation, kAtEnd);
  return lines;
}
