#include "entry/command.h"

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

/// The type that args[0] names; one that means nothing, for a missing or unknown text.
CommandType command_type(const char* text) {
  const std::int64_t number = text == nullptr ? 0 : decimal(text);
  const bool is_known = number >= 0 && number <= static_cast<int>(CommandType::mark_updating);
  return static_cast<CommandType>(is_known ? number : 0);
}

void reboot(const char* mac) {
  Ap ap(mac, {"reboot not recorded", Remedy::none});
  command_reboot(ap);
  setAction(ap, ApAction::reboot, std::nullopt, kOperation);
  if (ap.db.open()) {
    log_ap_event(ap, "rebooted.");
  }
  AH_deleteRelative(ap.mac);
}

bool well_formed(const char* mac) {
  return mac != nullptr && is_mac(mac);
}

}  // namespace

void command(int count, char** args) {
  const char* first = argument(count, args, 1);
  const char* second = argument(count, args, 2);
  const char* third = argument(count, args, 3);

  trace_arguments(kOperation, first, count, args);
  switch (command_type(argument(count, args, 0))) {
    case CommandType::report:
      if (well_formed(third)) {
        Ap ap(third, {"report dropped", Remedy::next_report});
        report_cycle(ap, first, second);
      }
      break;
    case CommandType::reboot:
      if (well_formed(first)) {
        reboot(first);
      }
      break;
    case CommandType::firmware:
      if (well_formed(second)) {
        Ap ap(second, {"firmware update not recorded", Remedy::none});
        update_firmware(ap, std::string(first).substr(0, kLongestPath));
      }
      break;
    case CommandType::release_all:
      if (well_formed(second)) {
        Ap ap(second, {"release of all blocks not recorded", Remedy::none});
        command_release_all(ap);
      }
      break;
    case CommandType::sync:
      if (well_formed(second)) {
        Ap ap(second, {"update check dropped", Remedy::none});
        check_updates(ap, first);
      }
      break;
    case CommandType::disconnect_tool:
      if (first != nullptr) {
        disconnect_tool(first, second);
      }
      break;
    case CommandType::mark_updating:
      if (second != nullptr) {
        Ap ap(second, {"update not recorded", Remedy::none});
        setAction(ap, ApAction::update, std::nullopt, kOperation);
      }
      break;
    case CommandType::steering:
      break;
  }
}
