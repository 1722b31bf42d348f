#include "steering/auto_rf.h"

#include "db/schema.h"
#include "platform/text.h"
#include "steering/limits.h"

namespace {

/// Fills in, and returns, whether anybody hears the AP strongly.
bool isStrength(Ap& ap, Hearing& hearing) {
  hearing.strongly = ap.db
                         .ask(Step("isStrength", "(1/1) "),
                              "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`>0 "
                              "AND `signal`>%d GROUP BY `ap`",
                              AP_CLIENT, ap.sn, limits::kAutoRfSignal)
                         .count();
  return hearing.strongly > 0;
}

/// Fills in whether anybody hears the AP, and weakly.
void isWeakness(Ap& ap, Hearing& hearing) {
  hearing.at_all = ap.db
                       .ask(Step("isWeakness", "(1/2) "),
                            "SELECT COUNT(`refer_ap`) FROM `%s`.`legal` WHERE `ap`=%d AND "
                            "`refer_ap`>0 GROUP BY `ap`",
                            AP_CLIENT, ap.sn)
                       .count();
  if (hearing.at_all > 0) {
    hearing.weakly = ap.db
                         .ask(Step("isWeakness", "(2/2) "),
                              "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`>0 "
                              "AND `signal`<%d GROUP BY `ap`",
                              AP_CLIENT, ap.sn, limits::kAutoRfSignal)
                         .count();
  }
}

}  // namespace

PowerStep power_step(const Hearing& hearing) {
  if (hearing.strongly > 0) {
    return PowerStep::down;
  }
  return hearing.at_all > 0 && hearing.weakly == hearing.at_all ? PowerStep::up : PowerStep::none;
}

std::optional<std::string> ap_auto_rf_rule(Ap& ap, Hearing& hearing) {
  if (!ap.db.open()) {
    return std::nullopt;
  }
  ap.look_up();
  if (!isStrength(ap, hearing)) {
    isWeakness(ap, hearing);
  }
  switch (power_step(hearing)) {
    case PowerStep::down:
      return "autoRF=-1\n";
    case PowerStep::up:
      return "autoRF=1\n";
    case PowerStep::none:
      break;
  }
  return std::nullopt;
}
