#include "db/registry.h"

#include "db/schema.h"
#include "values/decimal.h"
#include "values/split.h"

int get_ap_sn_by_mac(Connection& db, const std::string& mac) {
  return decimal_int(
      db.look_up(query(Step("get_ap_sn_by_mac"),
                       "SELECT `SN` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO, mac))
          .value_or(""));
}

std::optional<std::string> get_ap_name_by_mac(Connection& db, const std::string& mac) {
  return db
      .ask(Step("get_ap_name_by_mac"), "SELECT `Name` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
           AP_INFO, mac)
      .first_text();
}

std::optional<std::string> get_ap_ip_by_mac(Connection& db, const std::string& mac) {
  return db
      .ask(Step("get_ap_ip_by_mac"), "SELECT `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
           AP_INFO, mac)
      .first_text();
}

std::uint32_t profile_in_slot(std::string_view list, int slot) {
  const auto wanted = static_cast<std::size_t>(slot);
  const std::vector<std::string_view> items = str_split(list, ',', wanted + 1);
  return wanted == 0 || wanted > items.size() ? 0
                                              : cut_to<std::uint32_t>(decimal(items[wanted - 1]));
}

Query profile_slots_query(const std::string& mac, Band band) {
  const SqlName column = band == Band::five_ghz ? SqlName("5G_pf_id") : SqlName("pf_id");
  return query(untraced, "SELECT `%s` FROM `%s`.`ap_list` WHERE `mac`=UPPER('%s')", column, AP_INFO,
               mac);
}

std::uint32_t get_ap_pf_id(Connection& db, const std::string& mac, Band band, int slot) {
  return profile_in_slot(db.look_up(profile_slots_query(mac, band)).value_or(""), slot);
}

std::uint32_t peek_ap_pf_id(Connection& db, const std::string& mac, Band band, int slot) {
  return profile_in_slot(db.peek_look_up(profile_slots_query(mac, band)).value_or(""), slot);
}

Query profile_ssid_query(int sn) {
  return query(Step("get_profile_ssid_by_sn"), "SELECT `SSID` FROM `%s`.`ap_profile` WHERE `SN`=%d",
               AP_INFO, sn);
}

std::optional<SqlText> get_profile_ssid_by_sn(Connection& db, int sn) {
  const std::optional<std::string> ssid = db.look_up(profile_ssid_query(sn));
  return ssid ? SqlText::escaped(*ssid) : std::nullopt;
}

std::optional<SqlText> peek_profile_ssid(Connection& db, int sn) {
  const std::optional<std::string> ssid = db.peek_look_up(profile_ssid_query(sn));
  return ssid ? SqlText::escaped(*ssid) : std::nullopt;
}

Query profile_sn_query(std::string_view ssid) {
  return query(Step("get_profile_sn_by_ssid"),
               "SELECT `SN` FROM `%s`.`ap_profile` WHERE `SSID`='%s'", AP_INFO,
               ssid == kMissingValue ? SqlText() : SqlText::escaped_or_empty(ssid));
}

int get_profile_sn_by_ssid(Connection& db, std::string_view ssid) {
  return decimal_int(db.look_up(profile_sn_query(ssid)).value_or(""));
}
