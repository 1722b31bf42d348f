#include "entry/personalities.h"

#include "db/mac_address.h"
#include "entry/arguments.h"
#include "entry/lock_file.h"

void up(int argc, char** argv) {
  const char* mac = argument(argc, argv, 2);
  trace_arguments("up", mac, argc - 1, argv + 1);
  if (mac == nullptr || !is_mac(mac)) {
    return;
  }
  ap_lock_remove(mac);
}

void down(int argc, char** argv) {
  const char* mac = argument(argc, argv, 1);
  trace_arguments("down", mac, argc - 1, argv + 1);
  if (mac == nullptr || !is_mac(mac)) {
    return;
  }
  ap_lock_remove(mac);
}

void history(int argc, char** argv) {
  trace_arguments("history", argument(argc, argv, 2), argc - 1, argv + 1);
}
