#include "db/registry.h"

#include "db/schema.h"

namespace {

std::optional<std::string> first_text(Rows rows) {
  const std::optional<Row> row = rows.next();
  const std::optional<std::string_view> text = row ? (*row)[0] : std::nullopt;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

int first_number(Rows rows) {
  const std::optional<Row> row = rows.next();
  return row ? row->number(0) : 0;
}

}  // namespace

int get_ap_sn_by_mac(Connection& db, const std::string& mac) {
  return first_number(db.ask(Step("get_ap_sn_by_mac"),
                             "SELECT `SN` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
                             sql_text(mac).c_str())
                          .rows());
}

int get_reporting_ap_sn(Connection& db, const std::string& mac, const char* operation) {
  const int sn = get_ap_sn_by_mac(db, mac);
  if (sn == 0) {
    db.note(Step(operation), "%s has no serial number: nothing is stored under it", mac.c_str());
  }
  return sn;
}

std::optional<std::string> get_ap_name_by_mac(Connection& db, const std::string& mac) {
  return first_text(db.ask(Step("get_ap_name_by_mac"),
                           "SELECT `Name` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
                           sql_text(mac).c_str())
                        .rows());
}

std::optional<std::string> get_ap_ip_by_mac(Connection& db, const std::string& mac) {
  return first_text(db.ask(Step("get_ap_ip_by_mac"),
                           "SELECT `IP` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
                           sql_text(mac).c_str())
                        .rows());
}

Question ask_profile_ssid(Connection& db, int sn) {
  return db.ask_ahead(Step("get_profile_ssid_by_sn"),
                      "SELECT `SSID` FROM `%s`.`ap_profile` WHERE `SN`=%d", AP_INFO, sn);
}

std::optional<std::string> profile_ssid(const Question& asked) {
  const std::optional<std::string> ssid = first_text(asked.rows());
  return ssid ? my_sqlescape(*ssid) : std::nullopt;
}

std::optional<std::string> get_profile_ssid_by_sn(Connection& db, int sn) {
  const Question asked = ask_profile_ssid(db, sn);
  asked.trace();
  return profile_ssid(asked);
}

Question ask_profile_sn_by_ssid(Connection& db, std::string_view ssid) {
  const std::string wanted = ssid == kMissingValue ? "" : sql_text(ssid);
  return db.ask_ahead(Step("get_profile_sn_by_ssid"),
                      "SELECT `SN` FROM `%s`.`ap_profile` WHERE `SSID`='%s'", AP_INFO,
                      wanted.c_str());
}

int profile_sn(const Question& asked) {
  asked.trace();
  return first_number(asked.rows());
}

int get_profile_sn_by_ssid(Connection& db, std::string_view ssid) {
  return profile_sn(ask_profile_sn_by_ssid(db, ssid));
}
