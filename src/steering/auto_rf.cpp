#include "steering/auto_rf.h"

#include "db/connection.h"
#include "db/registry.h"
#include "db/schema.h"
#include "platform/text.h"
#include "steering/choice.h"

namespace {

/// Between the two: an AP heard above this level, in dBm, is loud; one heard below it is faint.
constexpr int kSignal = -70;

/// Fills in, and returns, whether anybody hears the AP strongly.
bool isStrength(Connection& db, int sn, Hearing& hearing) {
  hearing.strongly = db.ask(Step("isStrength", "(1/1) "),
                            "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`>0 "
                            "AND `signal`>%d GROUP BY `ap`",
                            AP_CLIENT, sn, kSignal)
                         .rows()
                         .count();
  return hearing.strongly > 0;
}

/// Fills in whether anybody hears the AP, and weakly.
void isWeakness(Connection& db, int sn, Hearing& hearing) {
  hearing.at_all = db.ask(Step("isWeakness", "(1/2) "),
                          "SELECT COUNT(`refer_ap`) FROM `%s`.`legal` WHERE `ap`=%d AND "
                          "`refer_ap`>0 GROUP BY `ap`",
                          AP_CLIENT, sn)
                       .rows()
                       .count();
  if (hearing.at_all > 0) {
    hearing.weakly = db.ask(Step("isWeakness", "(2/2) "),
                            "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`>0 "
                            "AND `signal`<%d GROUP BY `ap`",
                            AP_CLIENT, sn, kSignal)
                         .rows()
                         .count();
  }
}

}  // namespace

std::optional<std::string> ap_auto_rf_rule(const std::string& mac) {
  Connection db(mac);
  if (!db) {
    return std::nullopt;
  }
  const int sn = get_ap_sn_by_mac(db, mac);
  Hearing hearing;
  if (!isStrength(db, sn, hearing)) {
    isWeakness(db, sn, hearing);
  }
  switch (power_step(hearing)) {
    case PowerStep::down:
      return M("autoRF=-%d\n", 1);
    case PowerStep::up:
      return M("autoRF=%d\n", 1);
    case PowerStep::none:
      break;
  }
  return std::nullopt;
}
