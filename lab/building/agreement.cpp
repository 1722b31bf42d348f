#include "building/agreement.h"

#include <algorithm>
#include <cctype>

#include "building/database.h"

namespace lab {

namespace {

using Rows = std::set<std::string>;

std::string upper(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return text;
}

Agreement compare(const std::string& what, const Rows& building, const Rows& tables) {
  Agreement agreement{what, 0, {}};
  for (const std::string& row : building) {
    if (!tables.contains(row)) {
      agreement.differing.push_back(row + ", not in the table");
    }
  }
  for (const std::string& row : tables) {
    if (!building.contains(row)) {
      agreement.differing.push_back(row + ", only in the table");
    }
  }
  const std::size_t both = building.size() + tables.size();
  agreement.compared = static_cast<int>((both + agreement.differing.size()) / 2);
  return agreement;
}

/// Rows of the tables as one text each, by the name of the comparison.
std::map<std::string, Rows> stored_rows() {
  std::map<std::string, Rows> rows;
  const auto add = [&rows](const char* comparison, const std::string& statement) {
    for (const kit::SqlRow& row : query(statement)) {
      rows[comparison].insert(row[0] + " at " + row[1]);
    }
  };
  add("ap", "SELECT MAC, Status FROM AP_INFO.ap_list");
  for (const kit::SqlRow& table : query(
           "SELECT t.TABLE_NAME, a.MAC FROM information_schema.TABLES t JOIN AP_INFO.ap_list a ON "
           "t.TABLE_NAME=CONCAT('AP_', LPAD(a.SN, GREATEST(3, LENGTH(a.SN)), '0')) "
           "WHERE t.TABLE_SCHEMA='AP_CLIENT'")) {
    add("station", "SELECT mac, '" + table[1] + "' FROM AP_CLIENT." + table[0]);
  }
  add("block",
      "SELECT b.mac, a.MAC FROM AP_CLIENT.block b JOIN AP_INFO.ap_list a ON a.SN=b.refer_ap_sn");
  add("sighting",
      "SELECT l.mac, a.MAC FROM AP_CLIENT.legal l JOIN AP_INFO.ap_list a ON a.SN=l.refer_ap");
  add("foreign",
      "SELECT i.mac, a.MAC FROM AP_CLIENT.illegal i JOIN AP_INFO.ap_list a ON "
      "FIND_IN_SET(a.SN, i.ap_sn) > 0");
  return rows;
}

}  // namespace

std::vector<Agreement> compare_tables(const Play& play) {
  Rows registered;
  Rows stations;
  Rows blocks;
  Rows sightings;
  Rows foreign;
  for (const AccessPoint& ap : play.world().aps()) {
    if (ap.up || ap.up_since > 0) {
      registered.insert(ap.mac + (ap.up ? " at 1" : " at 0"));
    }
    for (const std::string& mac : ap.refused) {
      blocks.insert(upper(mac) + " at " + ap.mac);
    }
  }
  for (const auto& [number, seen] : play.last_reports()) {
    const std::string& mac = play.world().aps()[static_cast<std::size_t>(number)].mac;
    for (const HeardStation& heard : seen.stations) {
      stations.insert(upper(heard.station->mac) + " at " + mac);
    }
    for (const HeardRadio& radio : seen.radios) {
      (radio.managed ? sightings : foreign).insert(radio.bssid + " at " + mac);
    }
  }
  std::map<std::string, Rows> stored = stored_rows();
  return {compare("APs registered, connected or gone", registered, stored["ap"]),
          compare("stations in the APs' client tables", stations, stored["station"]),
          compare("blocks that the APs obey", blocks, stored["block"]),
          compare("own radios heard by other APs", sightings, stored["sighting"]),
          compare("foreign radios heard", foreign, stored["foreign"])};
}

}  // namespace lab
