#include "steering/auto_rf.h"

#include "db/schema.h"
#include "platform/text.h"
#include "steering/limits.h"

namespace {

/// Asks how the others hear the AP, as far as that decides.
Hearing listen(Ap& ap) {
  const auto count = [&](const Query& query) { return ap.db.ask(query).count(); };
  Hearing hearing;
  hearing.strongly = count(query(Step("isStrength", "(1/1) "),
                                 "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND "
                                 "`refer_ap`>0 AND `signal`>%d GROUP BY `ap`",
                                 AP_CLIENT, ap.sn, limits::kAutoRfSignal));
  if (hearing.strongly > 0) {
    return hearing;
  }
  hearing.at_all = count(query(Step("isWeakness", "(1/2) "),
                               "SELECT COUNT(`refer_ap`) FROM `%s`.`legal` WHERE `ap`=%d AND "
                               "`refer_ap`>0 GROUP BY `ap`",
                               AP_CLIENT, ap.sn));
  if (hearing.at_all > 0) {
    hearing.weakly = count(query(Step("isWeakness", "(2/2) "),
                                 "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND "
                                 "`refer_ap`>0 AND `signal`<%d GROUP BY `ap`",
                                 AP_CLIENT, ap.sn, limits::kAutoRfSignal));
  }
  return hearing;
}

}  // namespace

PowerStep power_step(const Hearing& hearing) {
  if (hearing.strongly > 0) {
    return PowerStep::down;
  }
  return hearing.at_all > 0 && hearing.weakly == hearing.at_all ? PowerStep::up : PowerStep::none;
}

std::string ap_auto_rf_rule(Ap& ap, Hearing& hearing) {
  if (!ap.db.open()) {
    return "";
  }
  ap.look_up();
  hearing = listen(ap);
  const PowerStep step = power_step(hearing);
  return step == PowerStep::none ? "" : M("autoRF=%d\n", static_cast<int>(step));
}
