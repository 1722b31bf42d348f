#include "steering/release_checks.h"

#include <functional>
#include <optional>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/choice.h"

namespace {

/// A radio heard above this level, in dBm, still offers refused stations a way out.
constexpr int kKeepSignal = -75;

/// Asks who hears, or is heard on, an SSID; the SSID comes escaped.
using AskHearing = std::function<Question(const Step& step, const std::string& ssid)>;

/// The look-ups under way for an SSID.
struct Inquiry {
  Question hearing;
  Question profile;
};

/// The check for each SSID that the AP `sn` broadcasts, under the name of the rule.
bool check(Connection& db, const char* operation, const std::string& mac, int sn,
           const AskHearing& ask_hearing) {
  const Step first(operation, "(1/2) ");
  const Step second(operation, "(2/2) ");
  Rows own = db.ask(first, "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0",
                    AP_CLIENT, sn)
                 .rows();
  if (own && own.count() == 0) {
    db.note(first, "no matched.");
  }
  std::vector<Inquiry> inquiries;
  for (const Row& row : own) {
    const std::string ssid = row.text(0);
    const Question hearing = ask_hearing(second, sql_text(ssid));
    inquiries.push_back({hearing, ask_profile_sn_by_ssid(db, ssid)});
  }
  int profile = 0;  // of the SSID that is being looked at
  const auto hearing = [&](std::size_t i) -> std::optional<std::uint64_t> {
    profile = profile_sn(inquiries[i].profile);
    inquiries[i].hearing.trace();
    const Rows rows = inquiries[i].hearing.rows();
    if (rows.count() > 0) {
      db.note(second, "no matched.");
    }
    return rows ? std::optional(rows.count()) : std::nullopt;
  };
  const auto holds_blocks = [&](std::size_t /*i*/) { return ap_release_rule(db, profile, mac); };
  return must_release_all(inquiries.size(), hearing, holds_blocks);
}

}  // namespace

bool ap_release_ssid_rule(Connection& db, const std::string& mac, int sn) {
  return check(db, "ap_release_ssid_rule", mac, sn, [&](const Step& step, const std::string& ssid) {
    return db.ask_ahead(
        step, "SELECT `essid` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`!=0 AND `essid`='%s'",
        AP_CLIENT, sn, ssid.c_str());
  });
}

bool ap_release_signal_rule(Connection& db, const std::string& mac) {
  const int sn = get_ap_sn_by_mac(db, mac);
  return check(db, "ap_release_signal_rule", mac, sn,
               [&](const Step& step, const std::string& ssid) {
                 return db.ask_ahead(step,
                                     "SELECT `essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND "
                                     "`essid`='%s' AND CAST(`signal` AS SIGNED) > %d",
                                     AP_CLIENT, sn, ssid.c_str(), kKeepSignal);
               });
}
