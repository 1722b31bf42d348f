#include "reports/system_status.h"

#include "db/schema.h"
#include "trace/trace_log.h"
#include "values/mac_address.h"

namespace {

constexpr const char* kSection = "00";

}  // namespace

system_record read_system_status(const Report& report) {
  const ReportSection section{report, kSection};
  return {.mac = section.text("MAC", 17, kNoMac),
          .cpu = section.text("cpu", 9, ""),
          .memory = section.text("memory", 9, ""),
          .version = section.text("version", 255, ""),
          .uptime = section.text("uptime", 31, "")};
}

void ap_system_parse(Ap& ap, const Report& report) {
  if (!ap.db.open()) {
    return;
  }
  const ReportSection section{report, kSection};
  for (const char* key : {"MAC", "cpu", "memory", "version", "uptime"}) {
    ap_debug_log({"ap_system_parse", ap.mac}, "%s:%s -> %s", kSection, key,
                 section.text(key, kWhole, kMissingValue).c_str());
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
