#include "lifecycle/connection_status.h"

#include <optional>

#include "db/connection.h"
#include "db/schema.h"
#include "lifecycle/join.h"
#include "steering/block_table.h"

namespace {

constexpr const char* kOperation = "checkConnectionStatus";

bool is_back(const std::string& mac) {
  Connection db(mac);
  if (!db) {
    return false;
  }
  Rows rows = db.ask(Step(kOperation),
                     "SELECT `Status`, `action` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
                     AP_INFO, mac.c_str())
                  .rows();
  const std::optional<Row> row = rows.next();
  return row && row->number(0) == kNotConnected &&
         row->number(1) == static_cast<int>(ApAction::none);
}

}  // namespace

void checkConnectionStatus(const std::string& ip, const std::string& mac) {
  if (is_back(mac)) {
    ap_block_remove(mac, Quiet::no, kOperation);
    ap_up_register(ip, mac, Capability{});
  }
}
