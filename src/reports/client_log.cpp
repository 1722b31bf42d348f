#include "reports/client_log.h"

#include "db/schema.h"
#include "platform/settings.h"
#include "platform/system_log.h"

namespace {

constexpr const char* kOperation = "ap_client_connection_log";
constexpr int kPrioritySetting = 126;
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestLine = 1023;

/// The first column of the first row; none without a row, empty for NULL.
std::optional<std::string> first_name(const Question& question) {
  Rows rows = question.rows();
  const std::optional<Row> row = rows.next();
  return row ? std::optional<std::string>(row->text(0).substr(0, kLongestName)) : std::nullopt;
}

}  // namespace

void ClientLog::ap_client_connection_log(const client_record& client, std::string connected_time) {
  const Question ssid_row =
      db_->ask(Step(kOperation), "SELECT SSID FROM `%s`.`%s` WHERE `SN`=%d", AP_INFO,
               table_name(InfoTable::ap_profile), static_cast<int>(client.ssid));
  std::optional<std::string> ssid;
  if (!found_profiles_.contains(client.ssid)) {
    ssid = first_name(ssid_row);
    if (!ssid) {
      return;
    }
    found_profiles_.insert(client.ssid);
  }
  const Question ap_name =
      db_->ask(Step(kOperation), "SELECT NAME FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_INFO,
               table_name(InfoTable::ap_list), sql_text(ap_mac_).c_str());
  const Question client_name =
      db_->ask(Step(kOperation), "SELECT Name FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_USER,
               table_name(InfoTable::client_name), sql_text(client.mac).c_str());
  pending_.push_back(
      {client, std::move(connected_time), std::move(ssid), ssid_row, ap_name, client_name});
}

void ClientLog::finish() {
  for (const Pending& line : pending_) {
    write(line);
  }
  pending_.clear();
}

void ClientLog::write(const Pending& line) {
  const std::optional<std::string> ssid = line.ssid ? line.ssid : first_name(line.ssid_row);
  const std::optional<std::string> ap_name = first_name(line.ap_name);
  const std::optional<std::string> client_name = first_name(line.client_name);
  if (!ssid || !ap_name) {
    return;
  }
  const client_record& client = line.client;
  const std::string text =
      M("<%d>client_name=\"%s\" client_mac=\"%s\" AP_name=\"%s\" SSID=\"%s\" Channel=\"%d\" "
        "Rate=\"%s\" Connected_time=\"%s\"",
        RI(kPrioritySetting), client_name.value_or(client.mac).c_str(), client.mac.c_str(),
        ap_name->c_str(), ssid->c_str(), client.channel, client.tx_rate.c_str(),
        line.connected_time.c_str());
  my_syslog(text.substr(0, kLongestLine));
}
