#include "entry/ap_event.h"

#include "db/registry.h"
#include "db/schema.h"
#include "lifecycle/connection_log.h"

void log_ap_event(Connection& db, const std::string& mac, const char* what) {
  const std::string label = get_ap_name_by_mac(db, mac).value_or(mac);
  ap_connection_log(db, M("AP %s %s", label.c_str(), what), kApControllerLog);
}
