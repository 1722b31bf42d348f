#include "reports/client_log.h"

#include "db/schema.h"
#include "platform/settings.h"
#include "platform/system_log.h"
#include "values/settings.h"

namespace {

constexpr const char* kOperation = "ap_client_connection_log";
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestLine = 1023;

Query ssid_query(const client_record& client) {
  return query(Step(kOperation), "SELECT SSID FROM `%s`.`%s` WHERE `SN`=%d", AP_INFO,
               table_name(InfoTable::ap_profile), static_cast<int>(client.ssid));
}

Query ap_name_query(const Ap& ap) {
  return query(Step(kOperation), "SELECT NAME FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_INFO,
               table_name(InfoTable::ap_list), ap.mac);
}

Query client_name_query(const client_record& client) {
  return query(Step(kOperation), "SELECT Name FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_USER,
               table_name(InfoTable::client_name), client.mac);
}

std::string cut(const std::string& name) {
  return name.substr(0, kLongestName);
}

}  // namespace

bool connection_log_is_on() {
  return RI(setting::kClientLog) != 0 &&
         !setting::is_off(setting::Unit::address, RS(setting::kLogAddress));
}

void fetch_connection_log_names(Ap& ap, const client_record& client) {
  ap.db.fetch_ahead(ssid_query(client));
  ap.db.fetch_ahead(ap_name_query(ap));
  ap.db.fetch_ahead(client_name_query(client));
}

void ap_client_connection_log(Ap& ap, const client_record& client,
                              const std::string& connected_time) {
  const std::optional<std::string> ssid = ap.db.look_up(ssid_query(client));
  const std::optional<std::string> ap_name = ssid ? ap.db.look_up(ap_name_query(ap)) : ssid;
  if (!ap_name) {
    return;
  }
  Rows names = ap.db.ask(client_name_query(client));
  const std::optional<Row> name = names.next();
  const std::string text =
      M("<%d>client_name=\"%s\" client_mac=\"%s\" AP_name=\"%s\" SSID=\"%s\" Channel=\"%d\" "
        "Rate=\"%s\" Connected_time=\"%s\"",
        RI(setting::kClientLogPriority), cut(name ? name->text(0) : client.mac).c_str(),
        client.mac.c_str(), cut(*ap_name).c_str(), cut(*ssid).c_str(), client.channel,
        client.tx_rate.c_str(), connected_time.c_str());
  my_syslog(text.substr(0, kLongestLine));
}
