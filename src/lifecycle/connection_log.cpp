#include "lifecycle/connection_log.h"

#include "control/traced_command.h"
#include "db/schema.h"
#include "platform/settings.h"
#include "values/shell_word.h"

namespace {

constexpr const char* kOperation = "ap_connection_log";
constexpr const char* kProgram = "ap-run";
constexpr int kPrioritySetting = 121;

}  // namespace

void ap_connection_log(Connection& db, const std::optional<std::string>& message, int type) {
  if (!message) {
    return;
  }
  if (const std::optional<std::string> escaped = my_sqlescape(*message)) {
    db.run(Step(kOperation),
           "INSERT INTO `%s_%s`.`%s` (`STime`, `Program`, `Type`, `Msg`) "
           "VALUES (NOW(), '%s', %d, '%s')",
           CONNTRACK_LOG, my_getDate(0).c_str(), CONNTRACK_LOG_TABLE[type], kProgram, type,
           escaped->c_str());
  }
  static constexpr const char* kForward =
      "/usr/sbin/send_logmsg -u -d %s -t %s -m \"<%d>[ Connection Log - AP Controller ] %s\" > "
      "/dev/null &";
  traced_command({kOperation, db.key()}, kForward, CONNTRACK_LOG,
                 CONNTRACK_LOG_TABLE[kApControllerLog], RI(kPrioritySetting),
                 within_double_quotes(*message).c_str());
}
