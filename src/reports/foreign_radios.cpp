#include "reports/foreign_radios.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "db/schema.h"
#include "platform/text.h"
#include "values/client_record.h"
#include "values/decimal.h"
#include "values/split.h"

namespace {

constexpr const char* kWithdrawing = "delete_ap_illegal_table";
constexpr const char* kStoring = "update_ap_legal_table_for_refer";
constexpr int kMostRounds = 10;

/// Whether a round of changes is to be followed by another.
enum class Done { yes, not_everywhere };

/// Runs rounds of changes until one is done everywhere. A round is told its number, from 1.
void in_rounds(const Connection& db, const char* operation,
               const std::function<Done(int number)>& round) {
  for (int number = 1; number <= kMostRounds && round(number) != Done::yes; ++number) {
    db.note(Step(operation), "other APs have changed the same radios meanwhile (round %d)", number);
  }
}

/// Withdraws the AP from a row whose list was read as `list`: writes `left` in its place.
Attempt shorten_list(Connection& db, const std::string& list, const std::string& left,
                     const std::string& mac) {
  return db.attempt(Step(kWithdrawing, "(3/3) "),
                    "UPDATE `%s`.`illegal` SET `ap_sn`='%s', `utime`=NOW() WHERE "
                    "`mac`=UPPER('%s') AND `ap_sn`='%s'",
                    AP_CLIENT, left, mac, list);
}

/// The same for a row that others are busy with: the server shortens the list that it finds, unless
/// that is the AP alone.
Attempt shorten_any_list(Connection& db, int sn, const std::string& mac) {
  return db.attempt(Step(kWithdrawing, "(3/3) "),
                    "UPDATE `%s`.`illegal` SET `ap_sn`=TRIM(BOTH ',' FROM REPLACE(CONCAT(',', "
                    "`ap_sn`, ','), ',%d,', ',')), `utime`=NOW() WHERE `mac`=UPPER('%s') AND "
                    "`ap_sn`!='%d'",
                    AP_CLIENT, sn, mac, sn);
}

/// Whether another AP's statement has kept ours from taking effect.
bool came_to_nothing(const Attempt& attempt) {
  const MyOutcome outcome = attempt.outcome();
  return outcome.fate == MyFate::repeat ||
         (outcome.fate == MyFate::done && outcome.changed_rows == 0);
}

Done withdraw(Connection& db, int sn, int round) {
  const Attempt own_rows = db.attempt(
      Step(kWithdrawing, "(1/3) "), "DELETE FROM `%s`.`illegal` WHERE `ap_sn`='%d'", AP_CLIENT, sn);
  const Step listed(kWithdrawing, "(2/3) ");
  Rows rows = db.ask(listed,
                     "SELECT `ap_sn`, `mac` FROM `%s`.`illegal` WHERE FIND_IN_SET('%d', `ap_sn`) "
                     "> 0",
                     AP_CLIENT, sn);
  if (rows && rows.count() == 0) {
    db.note(listed, "no matched.");
  }
  bool is_done = own_rows.outcome().fate != MyFate::repeat;
  std::vector<Attempt> shortened;
  for (const Row& row : rows) {
    const std::string list = row.text(0);
    const std::string left = without_hearer(list, sn);
    if (!left.empty()) {
      shortened.push_back(round == 1 ? shorten_list(db, list, left, row.text(1))
                                     : shorten_any_list(db, sn, row.text(1)));
    } else if (list == std::to_string(sn)) {
      is_done = false;  // a row of this AP alone that has been made since the DELETE
    }
  }
  const bool is_shortened = std::none_of(shortened.begin(), shortened.end(), came_to_nothing);
  return is_done && is_shortened ? Done::yes : Done::not_everywhere;
}

/// Stores a radio. The list of hearers is computed by the server, so that two APs that hear it at
/// once both get into it, whoever comes first.
Attempt store(Connection& db, int sn, const cell_record& cell) {
  return db.attempt(
      untraced,
      "INSERT INTO `%s`.`illegal` (`utime`, `ap_sn`, `mac`, `essid`, `mode`, `channel`, "
      "`quality`, `signal`, `noise`, `encryption`) VALUES (NOW(), '%d', UPPER('%s'), '%s', %u, "
      "%u, '%s', '%s', '%s', %u) ON DUPLICATE KEY UPDATE `utime`=NOW(), "
      "`ap_sn`=IF(FIND_IN_SET('%d', `ap_sn`) > 0, `ap_sn`, CONCAT_WS(',', `ap_sn`, '%d')), "
      "`essid`=VALUES(`essid`), `mode`=VALUES(`mode`), `channel`=VALUES(`channel`), "
      "`quality`=VALUES(`quality`), `signal`=VALUES(`signal`), `noise`=VALUES(`noise`), "
      "`encryption`=VALUES(`encryption`)",
      AP_CLIENT, sn, cell.mac, stored_text(cell.essid), cell.mode, cell.channel,
      stored_text(cell.quality), stored_text(cell.signal), stored_text(cell.noise), cell.encryption,
      sn, sn);
}

/// Stores all of `cells`; afterwards these are the ones that the server has undone. Once a radio is
/// among these, all its later cells follow, so that the last one's values stay.
Done store_all(Connection& db, int sn, std::vector<const cell_record*>& cells) {
  std::vector<Attempt> attempts;
  attempts.reserve(cells.size());
  for (const cell_record* cell : cells) {
    attempts.push_back(store(db, sn, *cell));
  }
  std::vector<const cell_record*> undone;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const bool follows = std::any_of(undone.begin(), undone.end(), [&](const auto* cell) {
      return my_tolower(cell->mac) == my_tolower(cells[i]->mac);
    });
    if (follows || attempts[i].outcome().fate == MyFate::repeat) {
      undone.push_back(cells[i]);
    }
  }
  cells = std::move(undone);
  return cells.empty() ? Done::yes : Done::not_everywhere;
}

}  // namespace

std::string without_hearer(std::string_view list, int sn) {
  const std::string_view after_first = list.substr(std::min<std::size_t>(1, list.size()));
  const auto separators = std::count(after_first.begin(), after_first.end(), ',');
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
  if (sn != 0) {
    in_rounds(db, kWithdrawing, [&](int round) { return withdraw(db, sn, round); });
  }
}

void store_foreign_radios(Connection& db, int sn, std::span<const cell_record* const> cells) {
  std::vector<const cell_record*> left(cells.begin(), cells.end());
  in_rounds(db, kStoring, [&](int /*round*/) { return store_all(db, sn, left); });
}
