#include "db/ap.h"

#include "db/registry.h"
#include "trace/trace_log.h"
#include "values/visible_text.h"

int Ap::look_up() {
  sn = get_ap_sn_by_mac(db, mac);
  return sn;
}

int Ap::look_up_reporting(const char* operation) {
  if (look_up() == 0) {
    db.note(Step(operation), "%s has no serial number: nothing is stored under it", mac.c_str());
  }
  return sn;
}

void Ap::give_connection_back() {
  db.close();
  my_mysql_release();
}

void setAction(Ap& ap, ApAction action, const std::optional<std::string>& fw_upgrade,
               const char* caller) {
  if (!ap.db.open()) {
    return;
  }
  // Only an existence test, which leaves no trace for an AP that is unknown.
  if (ap.db
          .ask(untraced, "SELECT `SN`, `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
               ap.mac)
          .count() == 0) {
    return;
  }
  const std::string firmware = fw_upgrade.value_or("");
  ap_debug_log({"setAction", ap.mac}, "Called by func(%s), action: %d %s", caller,
               static_cast<int>(action), visible_text(firmware).c_str());
  ap.db.run(Step("setAction"),
            "UPDATE `%s`.`ap_list` set `action`=%d, `Status`=%d, `IP`='%s', `fw_upgrade`='%s' "
            "WHERE `MAC`=UPPER('%s')",
            AP_INFO, static_cast<int>(action), kNotConnected, kNoAddress, firmware, ap.mac);
}
