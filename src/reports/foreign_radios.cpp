#include "reports/foreign_radios.h"

#include <algorithm>
#include <vector>

#include "db/schema.h"
#include "values/decimal.h"
#include "values/split.h"

namespace {

constexpr const char* kOperation = "delete_ap_illegal_table";
constexpr int kMostRounds = 10;

enum class Withdrawn { yes, not_everywhere };

/// Whether other APs have been seen to change lists.
enum class Lists { at_rest, busy };

/// Whether another AP's statement has kept ours from taking effect.
bool came_to_nothing(const Attempt& attempt) {
  const MyOutcome outcome = attempt.outcome();
  return outcome.fate == MyFate::repeat ||
         (outcome.fate == MyFate::done && outcome.changed_rows == 0);
}

/// Withdraws the AP from a row whose list was read as `list`: writes `left` in its place.
Attempt shorten_list(Connection& db, const std::string& list, const std::string& left,
                     const std::string& mac) {
  return db.attempt(Step(kOperation, "(3/3) "),
                    "UPDATE `%s`.`illegal` SET `ap_sn`='%s', `utime`=NOW() WHERE "
                    "`mac`=UPPER('%s') AND `ap_sn`='%s'",
                    AP_CLIENT, sql_text(left).c_str(), sql_text(mac).c_str(),
                    sql_text(list).c_str());
}

/// The same for a row that others are busy with: the server shortens the list that it finds, unless
/// that is the AP alone.
Attempt shorten_any_list(Connection& db, int sn, const std::string& mac) {
  return db.attempt(Step(kOperation, "(3/3) "),
                    "UPDATE `%s`.`illegal` SET `ap_sn`=TRIM(BOTH ',' FROM REPLACE(CONCAT(',', "
                    "`ap_sn`, ','), ',%d,', ',')), `utime`=NOW() WHERE `mac`=UPPER('%s') AND "
                    "`ap_sn`!='%d'",
                    AP_CLIENT, sn, sql_text(mac).c_str(), sn);
}

Withdrawn withdraw(Connection& db, int sn, Lists lists) {
  const Attempt own_rows = db.attempt(
      Step(kOperation, "(1/3) "), "DELETE FROM `%s`.`illegal` WHERE `ap_sn`='%d'", AP_CLIENT, sn);
  const Step listed(kOperation, "(2/3) ");
  Rows rows = db.ask(listed,
                     "SELECT `ap_sn`, `mac` FROM `%s`.`illegal` WHERE FIND_IN_SET('%d', `ap_sn`) "
                     "> 0",
                     AP_CLIENT, sn)
                  .rows();
  if (rows && rows.count() == 0) {
    db.note(listed, "no matched.");
  }
  bool anew = own_rows.outcome().fate == MyFate::repeat;
  std::vector<Attempt> shortened;
  for (const Row& row : rows) {
    const std::string list = row.text(0);
    const std::string left = without_hearer(list, sn);
    if (!left.empty()) {
      shortened.push_back(lists == Lists::at_rest ? shorten_list(db, list, left, row.text(1))
                                                  : shorten_any_list(db, sn, row.text(1)));
    } else if (list == std::to_string(sn)) {
      anew = true;  // the row of this AP alone has come to be since the DELETE
    }
  }
  anew |= std::any_of(shortened.begin(), shortened.end(), came_to_nothing);
  return anew ? Withdrawn::not_everywhere : Withdrawn::yes;
}

}  // namespace

std::string without_hearer(std::string_view list, int sn) {
  const std::string_view behind_first = list.substr(std::min<std::size_t>(1, list.size()));
  const auto separators = std::count(behind_first.begin(), behind_first.end(), ',');
  std::string left;
  for (const std::string_view field :
       str_split(list, ',', static_cast<std::size_t>(separators) + 1)) {
    if (decimal_int(field) != sn) {
      left.append(left.empty() ? "" : ",").append(field);
    }
  }
  return left;
}

void delete_ap_illegal_table(Connection& db, int sn) {
  if (sn == 0) {
    return;
  }
  Lists lists = Lists::at_rest;
  for (int round = 1; round <= kMostRounds && withdraw(db, sn, lists) != Withdrawn::yes; ++round) {
    db.note(Step(kOperation), "other APs have changed lists meanwhile (round %d)", round);
    lists = Lists::busy;
  }
}
