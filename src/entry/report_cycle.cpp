#include "entry/report_cycle.h"

#include <unistd.h>

#include <ctime>
#include <optional>

#include "control/command_file.h"
#include "db/schema.h"
#include "entry/lock_file.h"
#include "lifecycle/connection_status.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "platform/settings.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"
#include "reports/poor_clients.h"
#include "reports/report.h"
#include "reports/station_list.h"
#include "reports/system_status.h"
#include "steering/auto_rf.h"
#include "steering/block_release.h"
#include "steering/block_table.h"
#include "steering/load_balance.h"
#include "steering/mac_filter.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

constexpr const char* kOperation = "command";
constexpr std::size_t kLongestPath = 255;

/// Registers the AP when the registry does not know it, with the defaults of a new AP.
void register_unknown_ap(Ap& ap, const std::string& ip) {
  if (!ap.db.open()) {
    return;
  }
  const Rows known =
      ap.db.ask(Step(kOperation), "SELECT `SN`, `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
                AP_INFO, ap.mac);
  if (!known || known.count() > 0) {
    return;
  }
  const std::string profiles = getDefaultProfileSN();
  ap.db.run(Step(kOperation),
            "INSERT INTO `%s`.`ap_list` (`STime`, `ETime`, `Name`, `IP`, `MAC`, `Status`, `pf_id`, "
            "`5G_pf_id`, `wired_id`) VALUES(NOW(), '0000-00-00 00:00:00', '%s', '%s', UPPER('%s'), "
            "%d, '%s', '%s', '%s')",
            AP_INFO, ap.mac, ip, ap.mac, kConnected, profiles, profiles, getDefaultApWired());
  const int sn = cut_to<int>(ap.db.insert_id());
  if (sn != 0) {
    ap_sync_host(sn);
    setRemote(1, 0, sn, 0);
    create_client_table(ap.db, sn);
  }
}

/// An AP that reports is there, whatever the registry says.
void mark_connected(Ap& ap) {
  if (ap.db.open()) {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`ap_list` SET `Status`=%d, `STime`=NOW(), "
              "`ETime`='0000-00-00 00:00:00' WHERE `MAC`=UPPER('%s') AND `Status`=%d",
              AP_INFO, kConnected, ap.mac, kNotConnected);
  }
}

/// Whether stations are steered.
bool is_balancing(int filter_mode) {
  return RI(setting::kLoadBalancing) != 0 && filter_mode != setting::kMacFilterAlone;
}

/// Stores what the report says and lifts the blocks that it makes needless: their "release" lines.
std::string store_report(Ap& ap, const std::string& path, int filter_mode) {
  const std::optional<Report> report = Report::load(path, ap.mac);
  if (!report) {
    return "";
  }
  ap_system_parse(ap, *report);
  mark_connected(ap);
  ap_interface_parse(ap, *report);
  update_ap_legal_table_for_refer(ap, *report);
  update_ap_client_db(ap, *report);
  update_ap_poor_client_db(ap, *report);
  return is_balancing(filter_mode) && ap.db.open() ? ap_release_block_rule(ap).value_or("") : "";
}

void remove_report(const std::string& path) {
  if (access(paths::kKeepReports, F_OK) != 0) {
    my_rm("%s", path.c_str());
  }
}

/// Runs the load-balancing pass: the lines that tell the AP whom to release, disconnect and refuse.
/// When all its blocks must go, the AP is told so by a command of its own.
std::string steering_lines(Ap& ap, const std::string& releases) {
  ReleaseAll release_all = ReleaseAll::no;
  const std::string moves = ap_load_balance_rule(ap, release_all).value_or("");
  if (release_all == ReleaseAll::yes) {
    ap_block_remove(ap, Quiet::no, kOperation);
    return "";
  }
  const std::string lines = releases + moves;
  return lines.empty() ? ""
                       : M("type=%d\n%s", static_cast<int>(CommandType::steering), lines.c_str());
}

std::string auto_rf_line(Ap& ap) {
  return RI(setting::kAutoRf) == 0 ? "autoRF=0\n" : ap_auto_rf_rule(ap).value_or("");
}

void answer_report(Ap& ap, const std::string& path, const std::string& ip) {
  const int filter_mode = RI(setting::kMacFilter);
  register_unknown_ap(ap, ip);
  checkConnectionStatus(ap, ip);
  const std::string releases = store_report(ap, path, filter_mode);
  ap.db.close();  // all of it is stored before the report goes
  remove_report(path);
  std::string lines = is_balancing(filter_mode) ? steering_lines(ap, releases) : "";
  lines += auto_rf_line(ap);
  if (filter_mode != 0) {
    ap_block_remove(ap, Quiet::yes, kOperation);  // the filter says who may use the AP
  }
  ap.db.close();
  lines += ap_mac_filter_conf(ap.mac);
  lines = my_string(std::move(lines), "time=%lu\n", static_cast<unsigned long>(std::time(nullptr)));
  ap_debug_log({kOperation, ap.mac}, "[%s] cmd_content: %s", ap.mac.c_str(), lines.c_str());
  ap_conf_set(ap, lines, CommandSlot::ordinary, Remedy::next_report);
}

}  // namespace

void report_cycle(Ap& ap, const std::string& path, const std::string& ip) {
  if (ap_lock_take(ap.mac) == Lock::held_by_another) {
    return;
  }
  ap_debug_log({kOperation, ap.mac}, "=====START parsing %s data=====", ap.mac.c_str());
  const std::string report = path.substr(0, kLongestPath);
  if (isRegularFile(report)) {
    answer_report(ap, report, ip);
  }
  ap_debug_log({kOperation, ap.mac}, "=====END parsing %s data=====\n\n", ap.mac.c_str());
  ap_lock_remove(ap.mac);
}
