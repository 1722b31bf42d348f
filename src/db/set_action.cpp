#include "db/set_action.h"

#include "trace/trace_log.h"

void setAction(const std::string& mac, ApAction action,
               const std::optional<std::string>& fw_upgrade, const char* caller) {
  Connection db(mac);
  if (!db) {
    return;
  }
  // Only an existence test, which leaves no trace for an AP that is unknown.
  const std::string sql_mac = sql_text(mac);
  const Rows known =
      db.ask(untraced, "SELECT `SN`, `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
             sql_mac.c_str())
          .rows();
  if (known.count() == 0) {
    return;
  }
  const std::string firmware = fw_upgrade.value_or("");
  ap_debug_log({"setAction", mac}, "Called by func(%s), action: %d %s", caller,
               static_cast<int>(action), firmware.c_str());
  db.run(Step("setAction"),
         "UPDATE `%s`.`ap_list` set `action`=%d, `Status`=%d, `IP`='%s', `fw_upgrade`='%s' "
         "WHERE `MAC`=UPPER('%s')",
         AP_INFO, static_cast<int>(action), kNotConnected, kNoAddress, sql_text(firmware).c_str(),
         sql_mac.c_str());
}
