#include "show/station_view.h"

#include <algorithm>

#include "show/block_story.h"

namespace show {

namespace {

/// The APs that have the station in their tables, the latest first.
Section places(Site& site, const std::string& mac) {
  Section section{"at",
                  "Reported by",
                  Layout::table,
                  {{"ap", "AP"},
                   {"ssid", "SSID"},
                   {"channel", "CHANNEL", Unit::count},
                   {"link", "LINK", Unit::count},
                   {"idle", "IDLE", Unit::age},
                   {"tx_rate", "TX"},
                   {"rx_rate", "RX"},
                   {"connected_age", "THERE FOR", Unit::age},
                   {"report_age", "REPORT", Unit::age}},
                  {}};
  site.ask_client_tables(
      [&](int sn) {
        return statement(
            "SELECT %d, (SELECT `SSID` FROM `%s`.`ap_profile` WHERE `SN`=`t`.`ssid`), `channel`, "
            "`rssi`, `idle`, `tx_rate`, `rx_rate`, TIMESTAMPDIFF(SECOND, `stime`, NOW()), "
            "TIMESTAMPDIFF(SECOND, `utime`, NOW()) FROM `%s`.`AP_%03d` AS `t` WHERE `mac`=UPPER('%s')",
            sn, AP_INFO, AP_CLIENT, sn, mac);
      },
      [&](const Row& row) {
        section.records.push_back({site.label(row.number(0)), row.text(1), number_in(row, 2),
                                   number_in(row, 3), age_in(row, 4), row.text(5), row.text(6),
                                   age_in(row, 7), age_in(row, 8)});
      });
  sort_by(section, "report_age");
  std::reverse(section.records.begin(), section.records.end());
  return section;
}

/// The APs that refuse the station.
Section blocks(Site& site, const std::string& mac) {
  Section section{"refused",
                  "Refused by",
                  Layout::singles,
                  {{"ap", "AP"},
                   {"age", "FOR", Unit::age},
                   {"ssid", "SSID"},
                   {"channel", "CHANNEL", Unit::count},
                   {"link", "LINK THEN", Unit::count},
                   {"ap_report_age", "AP'S REPORT", Unit::age},
                   {"kept_by", "KEPT BY"},
                   {"lifted_by", "LIFTED BY"}},
                  {}};
  for (
      const Row& row :
      ask(site.db(),
          "SELECT `refer_ap_sn`, TIMESTAMPDIFF(SECOND, `utime`, NOW()), (SELECT `SSID` FROM "
          "`%s`.`ap_profile` WHERE `SN`=`t`.`ssid`), `channel`, `rssi`, `mac` FROM `%s`.`block` AS `t` "
          "WHERE `mac`='%s'",
          AP_INFO, AP_CLIENT, mac)) {
    const int sn = row.number(0);
    const ApState* ap = site.ap(sn);
    const BlockStory story =
        ap == nullptr
            ? BlockStory{"an AP that is not registered: it makes no reports", "nothing by itself"}
            : BlockTeller(site, *ap).tell(row.text(5));
    section.records.push_back({site.label(sn),
                               age_in(row, 1),
                               row.text(2),
                               number_in(row, 3),
                               number_in(row, 4),
                               ap == nullptr ? Age() : ap->report_age,
                               {story.kept_by, Tone::odd},
                               {story.lifted_by, Tone::good}});
  }
  return section;
}

}  // namespace

View station_view(Site& site, const std::string& mac) {
  const std::string name =
      ask(site.db(), "SELECT `Name` FROM `%s`.`client_name` WHERE `MAC`='%s'", AP_USER, mac)
          .first_text()
          .value_or("");
  return {{"station", "", Layout::single, {{"mac", "STATION"}, {"name", "NAME"}}, {{mac, name}}},
          places(site, mac),
          blocks(site, mac)};
}

}  // namespace show
