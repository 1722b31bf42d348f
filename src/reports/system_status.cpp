#include "reports/system_status.h"

#include "db/schema.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kSection = "00";
constexpr const char* kNoMac = "00:00:00:00:00:00";

std::string value_of(const Report& report, const char* key, const char* absent,
                     std::size_t longest) {
  return std::string(report.text(kSection, key).value_or(absent).substr(0, longest));
}

}  // namespace

system_record read_system_status(const Report& report) {
  return {.mac = value_of(report, "MAC", kNoMac, 17),
          .cpu = value_of(report, "cpu", "", 9),
          .memory = value_of(report, "memory", "", 9),
          .version = value_of(report, "version", "", 255),
          .uptime = value_of(report, "uptime", "", 31)};
}

void ap_system_parse(Ap& ap, const Report& report) {
  if (!ap.db.open()) {
    return;
  }
  for (const char* key : {"MAC", "cpu", "memory", "version", "uptime"}) {
    ap_debug_log({"ap_system_parse", ap.mac}, "%s:%s -> %s", kSection, key,
                 value_of(report, key, kMissingValue, std::string::npos).c_str());
  }
  if (report.text(kSection, "version") == "") {
    return;
  }
  const system_record status = read_system_status(report);
  ap.db.run(Step("ap_system_parse"),
            "UPDATE `%s`.`ap_list` SET `cpu_util`='%s', `memory_util`='%s', `fw_version`='%s', "
            "`uptime`='%s' WHERE `MAC`=UPPER('%s') AND `fw_version`!='%s'",
            AP_INFO, AsReceived{status.cpu}, AsReceived{status.memory}, AsReceived{status.version},
            AsReceived{status.uptime}, AsReceived{status.mac}, AsReceived{status.version});
}
