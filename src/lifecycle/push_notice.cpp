#include "lifecycle/push_notice.h"

#include "control/traced_command.h"
#include "db/schema.h"
#include "values/shell_word.h"

namespace {

constexpr const char* kOperation = "ap_push_notice";

}  // namespace

Question ap_push_recipients(Connection& db) {
  return db.ask(Step(kOperation), "SELECT `ID`, `TYPE` FROM `%s`.`%s`", AP_USER,
                table_name(InfoTable::app_login));
}

void ap_push_notice(const Connection& db, const Question& recipients, const std::string& message) {
  const std::string text = within_double_quotes(message);
  Rows rows = recipients.rows();
  for (const Row& row : rows) {
    traced_command(
        {kOperation, db.key()}, R"(/usr/sbin/mobile_pushmsg %s 0 "%s" "%s" 1 >/dev/null 2>&1 &)",
        shell_word(row.text(1)).c_str(), within_double_quotes(row.text(0)).c_str(), text.c_str());
  }
}
