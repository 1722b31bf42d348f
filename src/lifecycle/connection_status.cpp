#include "lifecycle/connection_status.h"

#include <optional>

#include "db/schema.h"
#include "lifecycle/join.h"
#include "steering/block_table.h"

namespace {

constexpr const char* kOperation = "checkConnectionStatus";

bool is_back(Ap& ap) {
  if (!ap.db.open()) {
    return false;
  }
  Rows rows = ap.db.ask(Step(kOperation),
                        "SELECT `Status`, `action` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
                        AP_INFO, ap.mac);
  const std::optional<Row> row = rows.next();
  return row && row->number(0) == kNotConnected &&
         row->number(1) == static_cast<int>(ApAction::none);
}

}  // namespace

void checkConnectionStatus(Ap& ap, const std::string& ip) {
  if (is_back(ap)) {
    ap_block_remove(ap, Quiet::no, kOperation);
    ap_up_register(ap, ip, Capability{});
  }
}
