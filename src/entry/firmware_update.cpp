#include "entry/firmware_update.h"

#include <unistd.h>

#include <optional>

#include "control/command_file.h"
#include "control/firmware_offer.h"
#include "control/traced_command.h"
#include "control/update_tool.h"
#include "db/registry.h"
#include "db/schema.h"
#include "db/set_action.h"
#include "entry/ap_event.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "platform/shell.h"
#include "trace/trace_log.h"
#include "values/shell_word.h"

namespace {

constexpr const char* kOperation = "command";
constexpr const char* kNoMac = "00:00:00:00:00:00";
constexpr const char* kSyncFiles = "/var/tmp/sync";

/// The firmware image that waits for the AP; none when nothing does.
std::optional<std::string> pending_firmware(const std::string& mac) {
  Connection db(mac);
  if (!db) {
    return std::nullopt;
  }
  Rows rows =
      db.ask(Step(kOperation), "SELECT `fw_upgrade` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
             AP_INFO, mac.c_str())
          .rows();
  const std::optional<Row> row = rows.next();
  const std::string path = row ? row->text(0) : "";
  return path.empty() ? std::nullopt : std::optional<std::string>(path);
}

void resume_update(const std::string& firmware, const std::string& mac) {
  my_mysql_release();
  traced_command({kOperation, mac}, "/usr/sbin/ap-command %d %s %s",
                 static_cast<int>(CommandType::firmware), shell_word(firmware).c_str(),
                 mac.c_str());
}

void bring_sync_file(const std::string& ip, const std::string& mac) {
  const std::string file = M("%s/%s", kSyncFiles, M("sync_%s.dat", mac.c_str()).c_str());
  if (access(file.c_str(), F_OK) != 0 || wum_update_check(mac, ip, file, CommandType::sync) != 0) {
    return;
  }
  kill_update_tool(mac, std::nullopt);
  traced_command({kOperation, mac}, "/usr/sbin/wum -c update -m %s -i %s -t %d > /dev/null 2>&1 &",
                 mac.c_str(), file.c_str(), static_cast<int>(CommandType::sync));
}

}  // namespace

void update_firmware(const std::string& firmware, const std::string& mac) {
  if (!isRegularFile(firmware)) {
    return;
  }
  std::optional<std::string> ip;
  if (Connection db(mac); db) {
    log_ap_event(db, mac, "updated.");
    ip = get_ap_ip_by_mac(db, mac);
  }
  setAction(mac, ApAction::update, firmware, kOperation);
  if (wum_update_check(mac, ip, firmware, CommandType::firmware) != 0) {
    return;
  }
  kill_update_tool(mac, "/firmware/");
  my_mysql_release();
  static constexpr const char* kUpdate = "/usr/sbin/wum -c update -m %s -f %s";
  ap_debug_log({kOperation, mac}, kUpdate, mac.c_str(), firmware.c_str());
  my_system(kUpdate, mac.c_str(), shell_word(firmware).c_str());
  AH_deleteRelative(mac);
}

void check_updates(const std::string& ip, const std::string& mac) {
  if (const std::optional<std::string> firmware = pending_firmware(mac)) {
    if (isRegularFile(*firmware)) {
      resume_update(*firmware, mac);
      return;
    }
    setAction(mac, ApAction::none, std::nullopt, "fw_upgrade");
  }
  bring_sync_file(ip, mac);
}

void disconnect_tool(const std::string& mac, const char* name) {
  if (mac != kNoMac) {
    static constexpr const char* kByMac = "/usr/sbin/wum -c disconnect -m %s > /dev/null 2>&1 &";
    ap_debug_log({kOperation, mac}, kByMac, mac.c_str());
    my_system(kByMac, shell_word(mac).c_str());
  } else if (name != nullptr) {
    static constexpr const char* kByName = "/usr/sbin/wum -c disconnect -n %s > /dev/null 2>&1 &";
    ap_debug_log({kOperation, mac}, kByName, name);
    my_system(kByName, shell_word(name).c_str());
  }
}
