#include "entry/command.h"

#include <optional>
#include <string>

#include "control/command_file.h"
#include "control/shell_word.h"
#include "db/decimal.h"
#include "db/mac_address.h"
#include "db/registry.h"
#include "db/schema.h"
#include "db/set_action.h"
#include "entry/arguments.h"
#include "entry/report_cycle.h"
#include "entry/trace_log.h"
#include "lifecycle/connection_log.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "platform/shell.h"

namespace {

constexpr const char* kOperation = "command";
constexpr const char* kNoMac = "00:00:00:00:00:00";

/// A firmware path is held to this many bytes.
constexpr std::size_t kLongestPath = 255;

enum class EventType {
  nothing_0 = 0,
  report = 1,
  reboot = 2,
  firmware = 3,
  nothing_4 = 4,
  release_all = 5,
  nothing_6 = 6,
  nothing_7 = 7,
  update_check = 8,
  disconnect_tool = 9,
  mark_updating = 10,
};

/// The type that args[0] names, none for a missing or unknown one.
std::optional<EventType> event_type(const char* text) {
  const std::int64_t number = text == nullptr ? -1 : decimal(text);
  if (number < 0 || number > static_cast<int>(EventType::mark_updating)) {
    return std::nullopt;
  }
  return static_cast<EventType>(number);
}

/// "AP <name> <what>" in the connection log.
void log_ap_event(Connection& db, const std::string& mac, const char* what) {
  const std::string label = get_ap_name_by_mac(db, mac).value_or(mac);
  ap_connection_log(db, M("AP %s %s", label.c_str(), what), kApControllerLog);
}

void reboot(const std::string& mac) {
  command_reboot(mac);
  setAction(mac, ApAction::reboot, std::nullopt, kOperation);
  if (Connection db(mac); db) {
    log_ap_event(db, mac, "rebooted.");
  }
  AH_deleteRelative(mac);
}

void update_firmware(const std::string& firmware, const std::string& mac) {
  if (!isRegularFile(firmware)) {
    return;
  }
  if (Connection db(mac); db) {
    log_ap_event(db, mac, "updated.");
  }
  setAction(mac, ApAction::update, firmware, kOperation);
  ap_debug_log({kOperation, mac}, "/usr/sbin/wum -c update -m %s -f %s", mac.c_str(),
               firmware.c_str());
  my_system("/usr/sbin/wum -c update -m %s -f %s", mac.c_str(), shell_word(firmware).c_str());
  AH_deleteRelative(mac);
}

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

void check_updates(const std::string& mac) {
  if (const std::optional<std::string> firmware = pending_firmware(mac)) {
    if (isRegularFile(*firmware)) {
      my_system("/usr/sbin/ap-command %d %s %s", static_cast<int>(EventType::firmware),
                shell_word(*firmware).c_str(), mac.c_str());
      return;
    }
    setAction(mac, ApAction::none, std::nullopt, "fw_upgrade");
  }
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

}  // namespace

void command(int count, char** args) {
  const char* first = argument(count, args, 1);
  const char* second = argument(count, args, 2);
  const char* third = argument(count, args, 3);
  const auto well_formed = [](const char* mac) { return mac != nullptr && is_mac(mac); };

  trace_arguments(kOperation, first, count, args);
  const std::optional<EventType> type = event_type(argument(count, args, 0));
  if (!type) {
    return;
  }
  switch (*type) {
    case EventType::report:
      if (well_formed(third)) {
        report_cycle(first, second, third);
      }
      break;
    case EventType::reboot:
      if (well_formed(first)) {
        reboot(first);
      }
      break;
    case EventType::firmware:
      if (well_formed(second)) {
        update_firmware(std::string(first).substr(0, kLongestPath), second);
      }
      break;
    case EventType::release_all:
      if (well_formed(second)) {
        command_release_all(second);
      }
      break;
    case EventType::update_check:
      if (well_formed(second)) {
        check_updates(second);
      }
      break;
    case EventType::disconnect_tool:
      if (first != nullptr) {
        disconnect_tool(first, second);
      }
      break;
    case EventType::mark_updating:
      if (second != nullptr) {
        setAction(second, ApAction::update, std::nullopt, kOperation);
      }
      break;
    case EventType::nothing_0:
    case EventType::nothing_4:
    case EventType::nothing_6:
    case EventType::nothing_7:
      break;
  }
}
