#include "show/ap_view.h"

#include <algorithm>
#include <array>

#include "show/ap_list.h"
#include "show/block_story.h"
#include "steering/limits.h"

namespace show {

namespace {

/// Radios of the AP itself.
Section radios(Site& site, int sn) {
  Section section{"radios",
                  "Radios",
                  Layout::table,
                  {{"ssid", "SSID"},
                   {"mac", "BSSID"},
                   {"channel", "CHANNEL", Unit::count},
                   {"power", "POWER"},
                   {"rate", "RATE"},
                   {"noise", "NOISE", Unit::dbm, 1},
                   {"security", "SECURITY", Unit::text, 2}},
                  {}};
  for (const Row& row :
       ask(site.db(),
           "SELECT `essid`, `mac`, `channel`, `transmit_power`, `rate`, "
           "CAST(`noise` AS SIGNED), `security` FROM `%s`.`legal` WHERE `ap`=%d AND "
           "`refer_ap`=0 ORDER BY `channel`, `mac`",
           AP_CLIENT, sn)) {
    section.records.push_back({row.text(0), row.text(1), number_in(row, 2), row.text(3),
                               row.text(4), number_in(row, 5), row.text(6)});
  }
  return section;
}

/// The stations in the AP's table, as far as there is one.
Section stations(Site& site, int sn) {
  Section section{"stations",
                  "Stations",
                  Layout::table,
                  {{"mac", "STATION"},
                   {"name", "NAME", Unit::text, 1},
                   {"ssid", "SSID"},
                   {"channel", "CHANNEL", Unit::count},
                   {"link", "LINK", Unit::count},
                   {"idle", "IDLE", Unit::age},
                   {"tx_rate", "TX"},
                   {"rx_rate", "RX"},
                   {"connected_age", "THERE FOR", Unit::age, 2}},
                  {}};
  if (!has_table(site.db(), AP_CLIENT, sn)) {
    return section;
  }
  for (const Row& row :
       ask(site.db(),
           "SELECT `t`.`mac`, `Name`, `p`.`SSID`, `channel`, `rssi`, `idle`, `tx_rate`, `rx_rate`, "
           "TIMESTAMPDIFF(SECOND, `stime`, NOW()) FROM `%s`.`AP_%03d` AS `t` LEFT JOIN "
           "`%s`.`client_name` AS `n` ON `n`.`MAC`=`t`.`mac` LEFT JOIN `%s`.`ap_profile` AS `p` ON "
           "`p`.`SN`=`t`.`ssid` ORDER BY `rssi` DESC, `t`.`mac`",
           AP_CLIENT, sn, AP_USER, AP_INFO)) {
    const Age link = number_in(row, 4);
    const Age idle = age_in(row, 5);
    section.records.push_back({row.text(0),
                               row.text(1),
                               row.text(2),
                               number_in(row, 3),
                               {link, link > limits::kLink ? Tone::good : Tone::plain},
                               {idle, idle > limits::kIdle ? Tone::odd : Tone::plain},
                               row.text(6),
                               row.text(7),
                               age_in(row, 8)});
  }
  return section;
}

/// A level, marked when it is that of an AP near enough to take a station over.
Cell level_cell(Age level) {
  return {level, level > limits::kNeighbourSignal ? Tone::good : Tone::plain};
}

/// Who hears the AP, and whom it hears, each at the loudest radio of a band.
Section neighbours(Site& site, int sn) {
  enum Level { hears_24, hears_5, heard_24, heard_5, levels };
  std::map<int, std::array<Age, levels>> found;  // by number of the other AP
  for (
      const Row& row :
      ask(site.db(),
          "SELECT `ap`, `channel`>14, MAX(CAST(`signal` AS SIGNED)), 0 FROM `%s`.`legal` WHERE "
          "`refer_ap`=%d GROUP BY 1, 2 UNION ALL SELECT `refer_ap`, `channel`>14, "
          "MAX(CAST(`signal` AS SIGNED)), %d FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`>0 GROUP "
          "BY 1, 2",
          AP_CLIENT, sn, static_cast<int>(heard_24), AP_CLIENT, sn)) {
    const int level = row.number(3) + row.number(1);
    found[row.number(0)].at(static_cast<std::size_t>(level)) = number_in(row, 2);
  }
  Section section{"neighbours",
                  "Neighbours",
                  Layout::table,
                  {{"ap", "AP"},
                   {"hears_24", "HEARD 2.4", Unit::dbm},
                   {"hears_5", "HEARD 5", Unit::dbm},
                   {"heard_24", "HEARS US 2.4", Unit::dbm},
                   {"heard_5", "HEARS US 5", Unit::dbm},
                   {"stations", "STATIONS", Unit::count}},
                  {}};
  for (const auto& [other, level] : found) {
    const ApState* ap = site.ap(other);
    section.records.push_back({site.label(other), level_cell(level[hears_24]),
                               level_cell(level[hears_5]), level_cell(level[heard_24]),
                               level_cell(level[heard_5]),
                               ap == nullptr ? Age() : Age(ap->stations())});
  }
  sort_by(section, "hears_24");
  return section;
}

/// Radios that no managed AP owns, the loudest first.
Section foreign_radios(Site& site, int sn) {
  Section section{"foreign",
                  "Foreign radios",
                  Layout::table,
                  {{"ssid", "SSID"},
                   {"mac", "BSSID"},
                   {"channel", "CHANNEL", Unit::count},
                   {"level", "LEVEL", Unit::dbm},
                   {"security", "SECURITY"},
                   {"age", "CHANGED", Unit::age},
                   {"hearers", "HEARD BY", Unit::count}},
                  {}};
  for (const Row& row :
       ask(site.db(),
           "SELECT `essid`, `mac`, `channel`, CAST(`signal` AS SIGNED) AS `level`, "
           "IF(`encryption`, 'encrypted', 'open'), TIMESTAMPDIFF(SECOND, `utime`, NOW()), "
           "LENGTH(`ap_sn`) - LENGTH(REPLACE(`ap_sn`, ',', '')) + 1 FROM `%s`.`illegal` WHERE "
           "FIND_IN_SET('%d', `ap_sn`) > 0 ORDER BY `level` DESC, `mac`",
           AP_CLIENT, sn)) {
    section.records.push_back({row.text(0), row.text(1), number_in(row, 2), number_in(row, 3),
                               row.text(4), age_in(row, 5), number_in(row, 6)});
  }
  return section;
}

/// Stations that the AP calls poorly served.
Section poor_clients(Site& site, int sn) {
  Section section{"poor",
                  "Poorly served stations",
                  Layout::table,
                  {{"mac", "STATION"},
                   {"name", "NAME"},
                   {"band", "BAND"},
                   {"link", "LINK", Unit::count},
                   {"status", "STATUS", Unit::count},
                   {"connected_age", "THERE FOR", Unit::age}},
                  {}};
  if (!has_table(site.db(), AP_POOR_CLIENT, sn)) {
    return section;
  }
  for (const Row& row :
       ask(site.db(),
           "SELECT `t`.`mac`, `Name`, IF(`band`, '5 GHz', '2.4 GHz'), `rssi`, `status`, "
           "TIMESTAMPDIFF(SECOND, `connection_time`, NOW()) FROM `%s`.`AP_%03d` AS `t` LEFT JOIN "
           "`%s`.`client_name` AS `n` ON `n`.`MAC`=`t`.`mac` ORDER BY `rssi`, `t`.`mac`",
           AP_POOR_CLIENT, sn, AP_USER)) {
    section.records.push_back({row.text(0), row.text(1), row.text(2), number_in(row, 3),
                               number_in(row, 4), age_in(row, 5)});
  }
  return section;
}

/// The stations that the AP refuses.
Section refused(Site& site, const ApState& ap) {
  Section section{"refused",
                  "Refused stations",
                  Layout::table,
                  {{"mac", "STATION"},
                   {"name", "NAME", Unit::text, 1},
                   {"ssid", "SSID"},
                   {"age", "FOR", Unit::age},
                   {"link", "LINK THEN", Unit::count, 2},
                   {"kept_by", "KEPT BY"}},
                  {}};
  BlockTeller teller(site, ap);
  for (const Row& row :
       ask(site.db(),
           "SELECT `t`.`mac`, `Name`, `p`.`SSID`, TIMESTAMPDIFF(SECOND, `utime`, NOW()), `rssi` "
           "FROM `%s`.`block` AS `t` LEFT JOIN `%s`.`client_name` AS `n` ON "
           "`n`.`MAC`=`t`.`mac` LEFT JOIN `%s`.`ap_profile` AS `p` ON `p`.`SN`=`t`.`ssid` WHERE "
           "`refer_ap_sn`=%d ORDER BY `utime`, `t`.`mac`",
           AP_CLIENT, AP_USER, AP_INFO, ap.sn)) {
    section.records.push_back({row.text(0), row.text(1), row.text(2), age_in(row, 3),
                               number_in(row, 4), teller.tell(row.text(0)).kept_by});
  }
  return section;
}

}  // namespace

View ap_view(Site& site, const ApState& ap, std::int64_t period) {
  return {ap_section(ap, period),  radios(site, ap.sn),         stations(site, ap.sn),
          neighbours(site, ap.sn), foreign_radios(site, ap.sn), poor_clients(site, ap.sn),
          refused(site, ap)};
}

}  // namespace show
