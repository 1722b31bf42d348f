#include "lifecycle/leave.h"

#include <optional>

#include "control/command_file.h"
#include "db/connection.h"
#include "db/registry.h"
#include "db/schema.h"
#include "lifecycle/announcement.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "reports/foreign_radios.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"

namespace {

constexpr const char* kOperation = "ap_down_record";

/// An AP that was there for less than this many seconds has not come far enough to be missed.
constexpr int kShortestStay = 80;

std::optional<std::string> text_or_none(const Row& row, unsigned int column) {
  const std::optional<std::string_view> text = row[column];
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

void record_leave(Connection& db, const std::string& mac) {
  Rows rows = db.ask(Step(kOperation),
                     "SELECT `IP`, `Name`, `SN` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s') AND "
                     "`Status`=%d AND (UNIX_TIMESTAMP(`STime`)+%d <= UNIX_TIMESTAMP(NOW()))",
                     AP_INFO, mac.c_str(), kConnected, kShortestStay)
                  .rows();
  const std::optional<Row> row = rows.next();
  if (!row) {
    db.note(Step(kOperation), "no matched.");
    return;
  }
  if ((*row)[2]) {
    setRemoteDown(0, row->number(2), 0);
  }
  db.run(Step(kOperation),
         "UPDATE `%s`.`ap_list` set `ETime`=NOW(), `Status`=%d, `IP`='%s' "
         "WHERE `MAC`=UPPER('%s')",
         AP_INFO, kNotConnected, kNoAddress, mac.c_str());
  Announcement(db, NoticeEvent::leave, mac).send(text_or_none(*row, 1), text_or_none(*row, 0));
}

/// Forgets what was reported by the AP and of it.
void forget_reports(Connection& db, const std::string& mac, int sn) {
  if (sn != 0) {
    delete_ap_legal_table(db, sn);
    delete_ap_legal_table_for_refer(db, sn);
  }
  delete_ap_illegal_table(db, sn);
  db.run(Step("delete_ap_mesh_client"), "DELETE FROM `%s`.`client` WHERE `mac`=UPPER('%s')",
         AP_CLIENT, mac.c_str());
}

}  // namespace

void ap_down_record(const std::string& mac) {
  if (Connection db(mac); db) {
    const int sn = get_ap_sn_by_mac(db, mac);
    record_leave(db, mac);
    forget_reports(db, mac, sn);
  }
  my_rm("%s", command_slot(mac).c_str());
}
