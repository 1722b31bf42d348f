#include "show/block_story.h"

#include <algorithm>

#include "platform/settings.h"
#include "steering/limits.h"
#include "values/settings.h"

namespace show {

namespace {

std::string in_quotes(const std::string& ssid) {
  return "\"" + ssid + "\"";
}

/// What ends all blocks of the AP `name` with its next report; empty for nothing.
std::string end_of_all(const Findings& found, const std::string& name) {
  if (RI(setting::kMacFilter) != 0) {
    return "the MAC filter is on (setting 135)";
  }
  if (!found.release_all) {
    return "";
  }
  if (!found.lost_ssid) {
    return name + " has a single station";
  }
  return (found.is_heard_by_nobody ? "no other AP hears " + name
                                   : name + M(" hears nobody above %d dBm", limits::kKeepSignal)) +
         " on " + in_quotes(*found.lost_ssid) + ", for which it refuses stations";
}

Findings findings_of(const ApState& state) {
  Ap ap(state.mac, {"nothing shown", Remedy::none});
  std::optional<Forecast> coming = forecast(ap);
  if (!coming) {
    throw Unavailable("the database cannot be reached: " + my_mysql_refusal().text);
  }
  return std::move(coming->found);
}

}  // namespace

BlockTeller::BlockTeller(Site& site, const ApState& ap)
    : site_(site), ap_(ap), found_(findings_of(ap)), end_of_all_(end_of_all(found_, ap.label())) {}

BlockStory BlockTeller::tell(const std::string& mac) {
  const std::string next_report = "the next report of " + ap_.label();
  if (!end_of_all_.empty()) {
    return {"nothing: " + end_of_all_, next_report + ", with all other blocks of the AP"};
  }
  if (!found_.amount) {
    return {"load balancing is off (setting 79), so no report looks at blocks",
            "load balancing when it is on again; " + ap_.label() + " when it leaves or joins"};
  }
  const auto block = std::find_if(found_.blocks.begin(), found_.blocks.end(),
                                  [&](const Findings::Block& one) { return one.mac == mac; });
  if (block == found_.blocks.end()) {
    return {"nothing: the block has gone while we looked", next_report};
  }
  if (!block->keeper) {
    return {M("SSID profile %d of the block is gone, so nobody knows where to look for the station",
              block->profile),
            other_ways()};
  }
  if (*block->keeper != 0) {
    return tell_of_keeper(*block);
  }
  const bool is_refused_anew = std::any_of(
      found_.candidates.begin(), found_.candidates.end(), [&](const Findings::Candidate& one) {
        return one.mac == mac && one.fate == Findings::Fate::refused;
      });
  return {"nothing: no AP that " + ap_.label() + " hears on " + in_quotes(ssid_of(block->profile)) +
              " has the station in its table",
          next_report + (is_refused_anew ? ", which refuses the station anew while it is in the "
                                           "AP's own table"
                                         : "")};
}

std::string BlockTeller::ssid_of(int profile) {
  return ask(site_.db(), "SELECT `SSID` FROM `%s`.`ap_profile` WHERE `SN`=%d", AP_INFO, profile)
      .first_text()
      .value_or("");
}

BlockStory BlockTeller::tell_of_keeper(const Findings::Block& block) {
  const std::string other = site_.label(*block.keeper);
  const std::string ssid = ssid_of(block.profile);
  Rows entry =
      site_.db().ask(untraced,
                     "SELECT (SELECT `SSID` FROM `%s`.`ap_profile` WHERE `SN`=`t`.`ssid`), "
                     "TIMESTAMPDIFF(SECOND, `utime`, NOW()) FROM `%s`.`AP_%03d` AS `t` WHERE "
                     "`mac`=UPPER('%s')",
                     AP_INFO, AP_CLIENT, *block.keeper, block.mac);
  const std::optional<Row> row = entry.next();
  const std::string level =
      ask(site_.db(),
          "SELECT MAX(CAST(`signal` AS SIGNED)) FROM `%s`.`legal` WHERE `refer_ap`=%d AND `ap`=%d "
          "AND `essid`='%s'",
          AP_CLIENT, ap_.sn, *block.keeper, ssid)
          .first_text()
          .value_or("?");
  return {other + " has the station in its table (on " + in_quotes(row ? row->text(0) : "") + ", " +
              (row ? M("reported %d s ago", row->number(1)) : "gone just now") + "), and " +
              ap_.label() + " hears " + other + " on " + in_quotes(ssid) + " at " + level + " dBm",
          "the next report of " + ap_.label() + " after a report of " + other +
              " without the station, or once " + ap_.label() + " does not hear " + other + " on " +
              in_quotes(ssid) + " any more. " + other_ways()};
}

std::string BlockTeller::other_ways() const {
  return M(
      "All blocks of %s go with a report of a single station (it has %d now), when no other AP "
      "hears it or it hears nobody above %d dBm on an SSID for which it refuses stations, and "
      "when it leaves or joins.",
      ap_.label().c_str(), static_cast<int>(ap_.stations()), limits::kKeepSignal);
}

}  // namespace show
