#include "reports/profile_slots.h"

#include <algorithm>

#include "db/schema.h"
#include "values/decimal.h"
#include "values/split.h"

std::uint32_t profile_in_slot(std::string_view list, int slot) {
  const auto separators = static_cast<std::size_t>(std::count(list.begin(), list.end(), ','));
  const std::vector<std::string_view> items = str_split(list, ',', separators + 1);
  const auto wanted = static_cast<std::size_t>(slot);
  return wanted == 0 || wanted > items.size() ? 0
                                              : cut_to<std::uint32_t>(decimal(items[wanted - 1]));
}

Question ask_ap_pf_id(Connection& db, const std::string& mac, Band band) {
  return db.ask(untraced, "SELECT `%s` FROM `%s`.`ap_list` WHERE `mac`=UPPER('%s')",
                band == Band::five_ghz ? "5G_pf_id" : "pf_id", AP_INFO, sql_text(mac).c_str());
}

std::string ap_pf_id(const Question& list) {
  Rows rows = list.rows();
  const std::optional<Row> row = rows.next();
  return row ? row->text(0) : "";
}

std::uint32_t get_ap_pf_id(const Question& list, int slot) {
  return profile_in_slot(ap_pf_id(list), slot);
}
