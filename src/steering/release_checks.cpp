#include "steering/release_checks.h"

#include <string>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/limits.h"

namespace {

/// Makes the query for who hears, or is heard on, an SSID.
using HearingQuery = Query (*)(const Step& step, int sn, const std::string& ssid);

/// The SSIDs that the AP broadcasts.
std::vector<std::string> own_ssids(Ap& ap, const Step& step) {
  Rows own = ap.db.ask(step, "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0",
                       AP_CLIENT, ap.sn);
  if (own && own.count() == 0) {
    ap.db.note(step, "no matched.");
  }
  std::vector<std::string> ssids;
  for (const Row& row : own) {
    ssids.push_back(row.text(0));
  }
  return ssids;
}

/// The check for each SSID of the AP, under the name of the rule.
bool check(Ap& ap, const char* operation, HearingQuery hearing_query, Findings& found) {
  const Step second(operation, "(2/2) ");
  const std::vector<std::string> ssids = own_ssids(ap, Step(operation, "(1/2) "));
  for (const std::string& ssid : ssids) {
    ap.db.fetch_ahead(profile_sn_query(ssid));
    ap.db.fetch_ahead(hearing_query(second, ap.sn, ssid));
  }
  for (const std::string& ssid : ssids) {
    const int profile = get_profile_sn_by_ssid(ap.db, ssid);
    const Rows hearing = ap.db.ask(hearing_query(second, ap.sn, ssid));
    if (hearing.count() > 0) {
      ap.db.note(second, "no matched.");
    } else if (hearing && ap_release_rule(ap, profile)) {
      found.lost_ssid = ssid;
      return true;
    }
  }
  return false;
}

Query heard_by_others(const Step& step, int sn, const std::string& ssid) {
  return query(step,
               "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`!=0 AND `essid`='%s'",
               AP_CLIENT, sn, SqlText::escaped_or_empty(ssid));
}

Query heard_by_itself(const Step& step, int sn, const std::string& ssid) {
  return query(step,
               "SELECT `essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND `essid`='%s' AND "
               "CAST(`signal` AS SIGNED) > %d",
               AP_CLIENT, sn, SqlText::escaped_or_empty(ssid), limits::kKeepSignal);
}

}  // namespace

bool ap_release_ssid_rule(Ap& ap, Findings& found) {
  found.is_heard_by_nobody = check(ap, "ap_release_ssid_rule", heard_by_others, found);
  return found.is_heard_by_nobody;
}

bool ap_release_signal_rule(Ap& ap, Findings& found) {
  ap.look_up();
  return check(ap, "ap_release_signal_rule", heard_by_itself, found);
}
