#include "lifecycle/push_notice.h"

#include "control/shell_command.h"
#include "db/schema.h"

namespace {

constexpr const char* kOperation = "ap_push_notice";

}  // namespace

Query push_recipients_query() {
  return query(Step(kOperation), "SELECT `ID`, `TYPE` FROM `%s`.`%s`", AP_USER,
               table_name(InfoTable::app_login));
}

void ap_push_notice(Ap& ap, const std::string& message) {
  for (const Row& row : ap.db.ask(push_recipients_query())) {
    run_command({kOperation, ap.mac},
                R"(/usr/sbin/mobile_pushmsg %s 0 "%s" "%s" 1 >/dev/null 2>&1 &)", row.text(1),
                row.text(0), message);
  }
}
