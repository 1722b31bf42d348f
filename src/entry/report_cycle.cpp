#include "entry/report_cycle.h"

#include <unistd.h>

#include <ctime>
#include <optional>

#include "control/command_file.h"
#include "db/connection.h"
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

namespace {

constexpr const char* kOperation = "command";
constexpr const char* kKeepReports = "/database/ap/radar/debug";
constexpr std::size_t kLongestPath = 255;

constexpr int kBalanceSetting = 79;     // 0: no load balancing
constexpr int kAutoRfSetting = 91;      // 0: off
constexpr int kMacFilterSetting = 135;  // 0: off

/// The mode of the MAC filter in which the filter alone says who may be where.
constexpr int kFilterAlone = 1;

/// Registers the AP when the registry does not know it, with the defaults of a new AP.
void register_unknown_ap(const std::string& ip, const std::string& mac) {
  Connection db(mac);
  if (!db) {
    return;
  }
  const Rows known =
      db.ask(Step(kOperation), "SELECT `SN`, `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
             AP_INFO, mac.c_str())
          .rows();
  if (!known || known.count() > 0) {
    return;
  }
  const std::string profiles = sql_text(getDefaultProfileSN());
  db.run(Step(kOperation),
         "INSERT INTO `%s`.`ap_list` (`STime`, `ETime`, `Name`, `IP`, `MAC`, `Status`, `pf_id`, "
         "`5G_pf_id`, `wired_id`) VALUES(NOW(), '0000-00-00 00:00:00', '%s', '%s', UPPER('%s'), "
         "%d, '%s', '%s', '%s')",
         AP_INFO, mac.c_str(), sql_text(ip).c_str(), mac.c_str(), kConnected, profiles.c_str(),
         profiles.c_str(), sql_text(getDefaultApWired()).c_str());
  const int sn = cut_to<int>(db.insert_id());
  if (sn != 0) {
    ap_sync_host(sn);
    setRemote(1, 0, sn, 0);
    create_client_table(db, sn);
  }
}

/// An AP that reports is there, whatever the registry says.
void mark_connected(const std::string& mac) {
  Connection db(mac);
  if (!db) {
    return;
  }
  db.run(Step(kOperation),
         "UPDATE `%s`.`ap_list` SET `Status`=%d, `STime`=NOW(), `ETime`='0000-00-00 00:00:00' "
         "WHERE `MAC`=UPPER('%s') AND `Status`=%d",
         AP_INFO, kConnected, mac.c_str(), kNotConnected);
}

/// Whether stations are steered.
bool is_balancing(int filter_mode) {
  return RI(kBalanceSetting) != 0 && filter_mode != kFilterAlone;
}

/// The "release" lines of the AP, empty for none.
std::string release_blocks(const std::string& mac) {
  Connection db(mac);
  return db ? ap_release_block_rule(db, mac).value_or("") : "";
}

/// Stores what the report says and lifts the blocks that it makes needless: their "release" lines.
std::string store_report(const std::string& path, const std::string& mac, int filter_mode) {
  const std::optional<Report> report = Report::load(path, mac);
  if (!report) {
    return "";
  }
  ap_system_parse(mac, *report);
  mark_connected(mac);
  ap_interface_parse(mac, *report);
  update_ap_legal_table_for_refer(mac, *report);
  update_ap_client_db(mac, *report);
  update_ap_poor_client_db(mac, *report);
  return is_balancing(filter_mode) ? release_blocks(mac) : "";
}

void remove_report(const std::string& path) {
  if (access(kKeepReports, F_OK) != 0) {
    my_rm("%s", path.c_str());
  }
}

/// Runs the load-balancing pass: the lines that tell the AP whom to release, disconnect and refuse.
/// When all its blocks must go, the AP is told so by a command of its own.
std::string steering_lines(const std::string& mac, const std::string& releases) {
  ReleaseAll release_all = ReleaseAll::no;
  const std::string moves = ap_load_balance_rule(mac, release_all).value_or("");
  if (release_all == ReleaseAll::yes) {
    ap_block_remove(mac, Quiet::no, kOperation);
    return "";
  }
  const std::string lines = releases + moves;
  return lines.empty() ? ""
                       : M("type=%d\n%s", static_cast<int>(CommandType::steering), lines.c_str());
}

std::string auto_rf_line(const std::string& mac) {
  return RI(kAutoRfSetting) == 0 ? "autoRF=0\n" : ap_auto_rf_rule(mac).value_or("");
}

void work_off(const std::string& path, const std::string& ip, const std::string& mac) {
  const int filter_mode = RI(kMacFilterSetting);
  register_unknown_ap(ip, mac);
  checkConnectionStatus(ip, mac);
  const std::string releases = store_report(path, mac, filter_mode);
  remove_report(path);
  std::string lines = is_balancing(filter_mode) ? steering_lines(mac, releases) : "";
  lines += auto_rf_line(mac);
  if (filter_mode != 0) {
    ap_block_remove(mac, Quiet::yes, kOperation);  // the filter says who may use the AP
  }
  lines += ap_mac_filter_conf(mac);
  lines = my_string(std::move(lines), "time=%lu\n", static_cast<unsigned long>(std::time(nullptr)));
  ap_debug_log({kOperation, mac}, "[%s] cmd_content: %s", mac.c_str(), lines.c_str());
  ap_conf_set(lines, mac, std::nullopt);
}

}  // namespace

void report_cycle(const std::string& path, const std::string& ip, const std::string& mac) {
  if (ap_lock_take(mac) == Lock::held_by_another) {
    return;
  }
  ap_debug_log({kOperation, mac}, "=====START parsing %s data=====", mac.c_str());
  const std::string report = path.substr(0, kLongestPath);
  if (isRegularFile(report)) {
    work_off(report, ip, mac);
  }
  ap_debug_log({kOperation, mac}, "=====END parsing %s data=====\n\n", mac.c_str());
  ap_lock_remove(mac);
}
