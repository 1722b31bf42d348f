#include "reports/system_status.h"

#include "db/connection.h"
#include "db/schema.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kSection = "00";
constexpr const char* kNoMac = "00:00:00:00:00:00";

std::string value_of(const Report& report, const char* key, const char* absent,
                     std::size_t longest) {
  return std::string(report.text(kSection, key).value_or(absent).substr(0, longest));
}

void trace_values(const std::string& mac, const Report& report) {
  for (const char* keyword : {"MAC", "cpu", "memory", "version", "uptime"}) {
    ap_debug_log({"ap_system_parse", mac}, "%s -> %s", M("%s:%s", kSection, keyword).c_str(),
                 std::string(report.text(kSection, keyword).value_or(kMissingValue)).c_str());
  }
}

/// Whether `text` can stand between single quotes as it is.
bool is_sound(const std::string& text) {
  return text.find_first_of("'\\") == std::string::npos;
}

}  // namespace

system_record read_system_status(const Report& report) {
  system_record record;
  record.mac = value_of(report, "MAC", kNoMac, 17);
  record.cpu = value_of(report, "cpu", "", 9);
  record.memory = value_of(report, "memory", "", 9);
  record.version = value_of(report, "version", "", 255);
  record.uptime = value_of(report, "uptime", "", 31);
  const std::optional<std::string_view> version = report.text(kSection, "version");
  record.version_given_empty = version && version->empty();
  return record;
}

void ap_system_parse(const std::string& mac, const Report& report) {
  Connection db(mac);
  if (!db) {
    return;
  }
  trace_values(mac, report);
  const system_record status = read_system_status(report);
  if (status.version_given_empty) {
    return;
  }
  const bool sound = is_sound(status.mac) && is_sound(status.cpu) && is_sound(status.memory) &&
                     is_sound(status.version) && is_sound(status.uptime);
  db.run(Step("ap_system_parse"), sound ? Delivery::send : Delivery::withhold,
         "UPDATE `%s`.`ap_list` SET `cpu_util`='%s', `memory_util`='%s', `fw_version`='%s', "
         "`uptime`='%s' WHERE `MAC`=UPPER('%s') AND `fw_version`!='%s'",
         AP_INFO, status.cpu.c_str(), status.memory.c_str(), status.version.c_str(),
         status.uptime.c_str(), status.mac.c_str(), status.version.c_str());
}
