#include "steering/answer.h"

#include "control/command_file.h"
#include "platform/settings.h"
#include "steering/block_release.h"
#include "steering/load_balance.h"
#include "steering/mac_filter.h"
#include "values/settings.h"

namespace {

/// Who lifts the blocks of an AP, for the trace.
constexpr const char* kCaller = "command";

std::string steering_lines(Ap& ap, const std::string& releases, Quiet quiet, Findings& found) {
  const std::string moves = ap_load_balance_rule(ap, found);
  if (found.release_all) {
    ap_block_remove(ap, quiet, kCaller);
    return "";
  }
  const std::string lines = releases + moves;
  return lines.empty() ? "" : "type=" + number_of(CommandType::steering) + "\n" + lines;
}

/// Whether stations are steered.
bool is_balancing(int filter_mode) {
  return RI(setting::kLoadBalancing) != 0 && filter_mode != setting::kMacFilterAlone;
}

}  // namespace

std::string release_lines(Ap& ap, int filter_mode, Findings& found) {
  return is_balancing(filter_mode) && ap.db.open() ? ap_release_block_rule(ap, found) : "";
}

std::string answer_lines(Ap& ap, int filter_mode, const std::string& releases, Quiet quiet,
                         Findings& found) {
  std::string lines = is_balancing(filter_mode) ? steering_lines(ap, releases, quiet, found) : "";
  lines += RI(setting::kAutoRf) == 0 ? "autoRF=0\n" : ap_auto_rf_rule(ap, found.hearing.emplace());
  if (filter_mode != 0) {
    ap_block_remove(ap, Quiet::yes, kCaller);  // the filter alone decides who may use the AP
  }
  return lines + ap_mac_filter_conf(ap.mac);
}
