#include "entry/personalities.h"

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
  ap_lock_remove(mac);
  ap_block_remove(mac, Quiet::no, "up");
  const Capability capability = ap_info_load(mac);
  ap_up_register(argv[1], mac, capability);
}

void down(int argc, char** argv) {
  const char* mac = argument(argc, argv, 1);
  trace_arguments("down", mac, argc - 1, argv + 1);
  if (mac == nullptr || !is_mac(mac)) {
    return;
  }
  ap_lock_remove(mac);
  ap_block_remove(mac, Quiet::no, "down");
  drop_ap_client_table(mac);
  ap_down_record(mac);
  scan_announce();
}

void history(int argc, char** argv) {
  trace_arguments("history", argument(argc, argv, 2), argc - 1, argv + 1);
}
