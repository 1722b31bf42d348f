#include "lifecycle/leave.h"

#include <optional>

#include "control/command_file.h"
#include "db/schema.h"
#include "lifecycle/announcement.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "reports/foreign_radios.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"

namespace {

constexpr const char* kOperation = "ap_down_record";

/// An AP that leaves in less than this many seconds has hardly come up: its leave is not announced.
constexpr int kShortestStay = 80;

void record_leave(Ap& ap) {
  Rows rows = ap.db.ask(Step(kOperation),
                        "SELECT `IP`, `Name`, `SN` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s') AND "
                        "`Status`=%d AND (UNIX_TIMESTAMP(`STime`)+%d <= UNIX_TIMESTAMP(NOW()))",
                        AP_INFO, ap.mac, kConnected, kShortestStay);
  const std::optional<Row> row = rows.next();
  if (!row) {
    if (rows) {
      ap.db.note(Step(kOperation), "no matched.");
    }
    return;
  }
  if ((*row)[2]) {
    setRemoteDown(0, row->number(2), 0);
  }
  ap.db.run(Step(kOperation),
            "UPDATE `%s`.`ap_list` set `ETime`=NOW(), `Status`=%d, `IP`='%s' "
            "WHERE `MAC`=UPPER('%s')",
            AP_INFO, kNotConnected, kNoAddress, ap.mac);
  fetch_announcement(ap, NoticeEvent::leave);
  announce(ap, {NoticeEvent::leave, row->text_or_none(1), ap.mac, row->text_or_none(0)});
}

/// Forgets what the AP has reported.
void forget_reports(Ap& ap) {
  if (ap.sn != 0) {
    delete_ap_legal_table(ap.db, ap.sn);
    delete_ap_legal_table_for_refer(ap.db, ap.sn);
    delete_ap_illegal_table(ap.db, ap.sn);
  }
  ap.db.run(Step("delete_ap_mesh_client"), "DELETE FROM `%s`.`client` WHERE `mac`=UPPER('%s')",
            AP_CLIENT, ap.mac);
}

}  // namespace

void ap_down_record(Ap& ap) {
  if (ap.db.open()) {
    ap.look_up();
    ap.db.run(Step("drop_ap_client_table"), "DROP TABLE IF EXISTS `%s`.`AP_%03d`", AP_CLIENT,
              ap.sn);
    ap.look_up();  // for the trace, which shows a look-up before each of the two operations
    record_leave(ap);
    forget_reports(ap);
  }
  my_rm("%s", command_slot(ap.mac, CommandSlot::ordinary).c_str());
}
