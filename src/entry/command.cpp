#include "entry/command.h"

#include <optional>
#include <string>

#include "control/command_file.h"
#include "db/schema.h"
#include "db/set_action.h"
#include "entry/ap_event.h"
#include "entry/arguments.h"
#include "entry/firmware_update.h"
#include "entry/report_cycle.h"
#include "platform/controller.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/mac_address.h"

namespace {

constexpr const char* kOperation = "command";

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

void reboot(const std::string& mac) {
  command_reboot(mac);
  setAction(mac, ApAction::reboot, std::nullopt, kOperation);
  if (Connection db(mac); db) {
    log_ap_event(db, mac, "rebooted.");
  }
  AH_deleteRelative(mac);
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
        check_updates(first, second);
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
