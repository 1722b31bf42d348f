#include "entry/report_cycle.h"

#include <unistd.h>

#include <ctime>
#include <optional>

#include "control/command_file.h"
#include "db/schema.h"
#include "entry/lock_file.h"
#include "lifecycle/join.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "platform/settings.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"
#include "reports/poor_clients.h"
#include "reports/report.h"
#include "reports/station_list.h"
#include "reports/system_status.h"
#include "steering/answer.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

constexpr const char* kOperation = "command";

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

/// An AP that reports is connected, whatever the registry says.
void mark_connected(Ap& ap) {
  if (ap.db.open()) {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`ap_list` SET `Status`=%d, `STime`=NOW(), "
              "`ETime`='0000-00-00 00:00:00' WHERE `MAC`=UPPER('%s') AND `Status`=%d",
              AP_INFO, kConnected, ap.mac, kNotConnected);
  }
}

/// Stores the report and lifts the blocks that are no longer needed; returns their "release" lines.
std::string store_report(Ap& ap, const std::string& path, int filter_mode, Findings& found) {
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
  return release_lines(ap, filter_mode, found);
}

void answer_report(Ap& ap, const std::string& path, const std::string& ip) {
  const int filter_mode = RI(setting::kMacFilter);
  register_unknown_ap(ap, ip);
  checkConnectionStatus(ap, ip);
  Findings found;
  const std::string releases = store_report(ap, path, filter_mode, found);
  ap.db.close();  // all of it is stored before the report is removed
  if (access(paths::kKeepReports, F_OK) != 0) {
    my_rm("%s", path.c_str());
  }
  std::string lines = answer_lines(ap, filter_mode, releases, Quiet::no, found);
  ap.db.close();
  lines += "time=" + std::to_string(std::time(nullptr)) + "\n";
  ap_debug_log({kOperation, ap.mac}, "[%s] cmd_content: %s", ap.mac.c_str(), lines.c_str());
  ap_conf_set(ap, lines, CommandSlot::ordinary, Remedy::next_report);
}

}  // namespace

void report_cycle(Ap& ap, const std::string& path, const std::string& ip) {
  if (!ap_lock_take(ap.mac)) {
    return;
  }
  ap_debug_log({kOperation, ap.mac}, "=====START parsing %s data=====", ap.mac.c_str());
  const std::string report = path.substr(0, 255);
  if (isRegularFile(report)) {
    answer_report(ap, report, ip);
  }
  ap_debug_log({kOperation, ap.mac}, "=====END parsing %s data=====\n\n", ap.mac.c_str());
  ap_lock_remove(ap.mac);
}
