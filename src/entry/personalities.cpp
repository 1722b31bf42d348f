#include "entry/personalities.h"

#include "control/command_file.h"
#include "entry/arguments.h"
#include "entry/lock_file.h"
#include "lifecycle/capability.h"
#include "lifecycle/join.h"
#include "lifecycle/leave.h"
#include "lifecycle/scan_announcement.h"
#include "steering/block_table.h"
#include "values/mac_address.h"

void up(int argc, char** argv) {
  const char* mac = argument(argc, argv, 2);
  trace_arguments("up", mac, argc - 1, argv + 1);
  if (mac == nullptr || !is_mac(mac)) {
    return;
  }
  Ap ap(mac, {"join not recorded", Remedy::next_report});
  ap_lock_remove(mac);
  remove_abandoned_commands();
  ap_block_remove(ap, Quiet::no, "up");
  const Capability capability = ap_info_load(mac);
  ap_up_register(ap, argv[1], capability);
}

void down(int argc, char** argv) {
  const char* mac = argument(argc, argv, 1);
  trace_arguments("down", mac, argc - 1, argv + 1);
  if (mac == nullptr || !is_mac(mac)) {
    return;
  }
  Ap ap(mac, {"leave not recorded", Remedy::none});
  ap_lock_remove(mac);
  ap_block_remove(ap, Quiet::no, "down");
  drop_ap_client_table(ap);
  ap_down_record(ap);
  ap.db.close();
  scan_announce();
}

void history(int argc, char** argv) {
  trace_arguments("history", argument(argc, argv, 2), argc - 1, argv + 1);
}
