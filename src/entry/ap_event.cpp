#include "entry/ap_event.h"

#include "db/registry.h"
#include "lifecycle/connection_log.h"

void log_ap_event(Ap& ap, const char* what) {
  const std::string label = get_ap_name_by_mac(ap.db, ap.mac).value_or(ap.mac);
  ap_connection_log(ap, M("AP %s %s", label.c_str(), what));
}
