#include "steering/auto_rf.h"

#include "db/schema.h"
#include "platform/text.h"
#include "steering/limits.h"

namespace {

/// Asks how the others hear the AP, as far as that decides.
Hearing listen(Ap& ap) {
  const auto is_heard = [&](const Query& how) { return ap.db.ask(how).count() > 0; };
  Hearing hearing;
  hearing.strongly = is_heard(query(Step("isStrength", "(1/1) "),
                                    "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND "
                                    "`refer_ap`>0 AND `signal`>%d GROUP BY `ap`",
                                    AP_CLIENT, ap.sn, limits::kAutoRfSignal));
  if (hearing.strongly) {
    return hearing;
  }
  hearing.at_all = is_heard(query(Step("isWeakness", "(1/2) "),
                                  "SELECT COUNT(`refer_ap`) FROM `%s`.`legal` WHERE `ap`=%d AND "
                                  "`refer_ap`>0 GROUP BY `ap`",
                                  AP_CLIENT, ap.sn));
  if (hearing.at_all) {
    hearing.weakly = is_heard(query(Step("isWeakness", "(2/2) "),
                                    "SELECT `refer_ap` FROM `%s`.`legal` WHERE `ap`=%d AND "
                                    "`refer_ap`>0 AND `signal`<%d GROUP BY `ap`",
                                    AP_CLIENT, ap.sn, limits::kAutoRfSignal));
  }
  return hearing;
}

}  // namespace

PowerStep power_step(const Hearing& hearing) {
  return hearing.strongly ? PowerStep::down : hearing.weakly ? PowerStep::up : PowerStep::none;
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
