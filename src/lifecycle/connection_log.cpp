#include "lifecycle/connection_log.h"

#include "control/shell_command.h"
#include "db/schema.h"
#include "platform/settings.h"
#include "values/settings.h"

namespace {

constexpr const char* kOperation = "ap_connection_log";
constexpr const char* kProgram = "ap-run";

}  // namespace

void ap_connection_log(Ap& ap, const std::string& message) {
  const char* const table = CONNTRACK_LOG_TABLE[kApControllerLog];
  ap.db.run(Step(kOperation),
            "INSERT INTO `%s_%s`.`%s` (`STime`, `Program`, `Type`, `Msg`) "
            "VALUES (NOW(), '%s', %d, '%s')",
            CONNTRACK_LOG, SqlNumber{my_getDate(0)}, SqlName::exported(table), kProgram,
            kApControllerLog, message);
  run_command({kOperation, ap.mac},
              "/usr/sbin/send_logmsg -u -d %s -t %s -m \"<%d>[ Connection Log - AP Controller ] "
              "%s\" > /dev/null &",
              CONNTRACK_LOG.text(), table, RI(setting::kLogPriority), message);
}
