#include "entry/personalities.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "control/command_file.h"
#include "db/ap.h"
#include "entry/firmware_update.h"
#include "entry/lock_file.h"
#include "entry/report_cycle.h"
#include "lifecycle/announcement.h"
#include "lifecycle/join.h"
#include "lifecycle/leave.h"
#include "lifecycle/scan_announcement.h"
#include "platform/controller.h"
#include "platform/settings.h"
#include "steering/block_table.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/mac_address.h"
#include "values/visible_text.h"

namespace {

/// The program's arguments as far as they are used, its name first; null for those that are missing.
using Arguments = std::array<const char*, 5>;

/// Writes a trace line for each argument, numbered from 0, under `key` (null for none).
void trace_arguments(const char* personality, const char* key, int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    ap_debug_log({personality, key}, "@@ %s => [%02d]:%s", personality, i - 1,
                 visible_text(argv[i]).c_str());
  }
}

/// Runs `body` for the AP with this MAC, unless it is missing (null) or not well formed.
template <typename Body>
void for_ap(const char* mac, Event event, Body body) {
  if (mac != nullptr && is_mac(mac)) {
    if (const std::string refusal = is_tracing() ? my_settings_refusal() : ""; !refusal.empty()) {
      ap_debug_log({"settings", mac}, "%s: every setting has its default", refusal.c_str());
    }
    Ap ap(mac, event);
    body(ap);
  }
}

void reboot(Ap& ap) {
  command_reboot(ap);
  setAction(ap, ApAction::reboot, std::nullopt, "command");
  if (ap.db.open()) {
    log_ap_event(ap, "rebooted.");
  }
  AH_deleteRelative(ap.mac);
}

void up(const Arguments& arguments) {
  const char* mac = arguments[2];
  for_ap(mac, {"join not recorded", Remedy::next_report}, [&](Ap& ap) {
    ap_lock_remove(mac);
    remove_abandoned_commands();
    ap_block_remove(ap, Quiet::no, "up");
    ap_up_register(ap, arguments[1], ap_info_load(mac));
  });
}

void down(const Arguments& arguments) {
  const char* mac = arguments[1];
  for_ap(mac, {"leave not recorded", Remedy::none}, [&](Ap& ap) {
    ap_lock_remove(mac);
    ap_block_remove(ap, Quiet::no, "down");
    ap_down_record(ap);
    ap.db.close();
    scan_announce();
  });
}

void history(const Arguments& /*arguments*/) {}  // trace lines only

void command(const Arguments& arguments) {
  const char* const first = arguments[2];
  const char* const second = arguments[3];
  const char* const third = arguments[4];
  switch (static_cast<CommandType>(decimal(arguments[1]))) {
    case CommandType::report:
      for_ap(third, {"report dropped", Remedy::next_report},
             [&](Ap& ap) { report_cycle(ap, first, second); });
      break;
    case CommandType::reboot:
      for_ap(first, {"reboot not recorded", Remedy::none}, reboot);
      break;
    case CommandType::firmware:
      for_ap(second, {"firmware update not recorded", Remedy::none},
             [&](Ap& ap) { update_firmware(ap, std::string(first).substr(0, 255)); });
      break;
    case CommandType::release_all:
      for_ap(second, {"release of all blocks not recorded", Remedy::none}, command_release_all);
      break;
    case CommandType::sync:
      for_ap(second, {"update check dropped", Remedy::none},
             [&](Ap& ap) { check_updates(ap, first); });
      break;
    case CommandType::disconnect_tool:
      if (first != nullptr) {
        disconnect_tool(first, second);
      }
      break;
    case CommandType::mark_updating:
      if (second != nullptr) {
        Ap ap(second, {"update not recorded", Remedy::none});
        setAction(ap, ApAction::update, std::nullopt, "command");
      }
      break;
    case CommandType::steering:
      break;
  }
}

struct Personality {
  const char* name;  // in the trace without "ap-"
  std::size_t key;   // of the trace: which argument is the AP's MAC
  void (*handle)(const Arguments&);
};

constexpr Personality kPersonalities[] = {
    {"ap-up", 2, up}, {"ap-down", 1, down}, {"ap-history", 2, history}, {"ap-command", 2, command}};

}  // namespace

void handle_event(int argc, char** argv) {
  Arguments arguments{};
  std::copy_n(argv, std::min<std::size_t>(static_cast<std::size_t>(argc), arguments.size()),
              arguments.begin());
  const std::string_view path = argv[0];
  for (const Personality& personality : kPersonalities) {
    if (path.substr(path.rfind('/') + 1) == personality.name) {
      trace_arguments(personality.name + 3, arguments[personality.key], argc, argv);
      personality.handle(arguments);
    }
  }
}
