#include "entry/firmware_update.h"

#include <unistd.h>

#include <optional>

#include "control/command_file.h"
#include "control/firmware_offer.h"
#include "control/shell_command.h"
#include "control/update_tool.h"
#include "db/registry.h"
#include "db/schema.h"
#include "lifecycle/announcement.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "values/mac_address.h"
#include "values/paths.h"

namespace {

constexpr const char* kOperation = "command";

/// The firmware image that waits for the AP; empty when nothing does.
std::string pending_firmware(Ap& ap) {
  if (!ap.db.open()) {
    return "";
  }
  Rows rows =
      ap.db.ask(Step(kOperation), "SELECT `fw_upgrade` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
                AP_INFO, ap.mac);
  return rows.first_text().value_or("");
}

void bring_sync_file(Ap& ap, const std::string& ip) {
  const std::string file = M("%s/sync_%s.dat", paths::kSyncFiles, ap.mac.c_str());
  if (access(file.c_str(), F_OK) != 0 || wum_update_check(ap, ip, file, CommandType::sync) != 0) {
    return;
  }
  kill_update_tool(ap.mac, "");
  run_command({kOperation, ap.mac}, "/usr/sbin/wum -c update -m %s -i %s -t %s > /dev/null 2>&1 &",
              ap.mac, file, number_of(CommandType::sync));
}

}  // namespace

void update_firmware(Ap& ap, const std::string& firmware) {
  if (!isRegularFile(firmware)) {
    return;
  }
  std::optional<std::string> ip;
  if (ap.db.open()) {
    log_ap_event(ap, "updated.");
    ip = get_ap_ip_by_mac(ap.db, ap.mac);
  }
  setAction(ap, ApAction::update, firmware, kOperation);
  if (wum_update_check(ap, ip, firmware, CommandType::firmware) != 0) {
    return;
  }
  kill_update_tool(ap.mac, "/firmware/");
  ap.give_connection_back();
  run_command({kOperation, ap.mac}, "/usr/sbin/wum -c update -m %s -f %s", ap.mac, firmware);
  AH_deleteRelative(ap.mac);
}

void check_updates(Ap& ap, const std::string& ip) {
  if (const std::string firmware = pending_firmware(ap); !firmware.empty()) {
    if (isRegularFile(firmware)) {
      ap.give_connection_back();
      run_command({kOperation, ap.mac}, "/usr/sbin/ap-command %s %s %s",
                  number_of(CommandType::firmware), firmware, ap.mac);
      return;
    }
    setAction(ap, ApAction::none, std::nullopt, "fw_upgrade");
  }
  bring_sync_file(ap, ip);
}

void disconnect_tool(const std::string& mac, const char* name) {
  if (mac != kNoMac) {
    run_command({kOperation, mac}, "/usr/sbin/wum -c disconnect -m %s > /dev/null 2>&1 &", mac);
  } else if (name != nullptr) {
    run_command({kOperation, mac}, "/usr/sbin/wum -c disconnect -n %s > /dev/null 2>&1 &", name);
  }
}
