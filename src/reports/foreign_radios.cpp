#include "reports/foreign_radios.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "db/schema.h"
#include "platform/text.h"
#include "trace/trace_log.h"
#include "values/client_record.h"
#include "values/decimal.h"
#include "values/split.h"

namespace {

constexpr const char* kWithdrawing = "delete_ap_illegal_table";
constexpr const char* kStoringForeign = "update_ap_legal_table_for_refer";
constexpr int kMostRounds = 10;

/// While it lives, this process alone changes the lists, so that APs that hear the same radios and
/// report at once do not queue up at each row: 64 of them, 300 radios each, would take three times as
/// long as with radios of their own. Outcomes are waited for afterwards: the next process goes on when
/// the server is through, not when this one runs again. The name is locked at the server, which frees
/// it when the connection ends. Whoever does not get it in time goes on without: every change is safe
/// by itself.
class Turn {
 public:
  explicit Turn(Connection& db) : db_(db) {
    constexpr int kLongestWait = 3;  // seconds, of the 10 for an answer
    db_.run(untraced, "DO GET_LOCK('ap-run.illegal', %d)", kLongestWait);
  }
  ~Turn() { db_.run(untraced, "DO RELEASE_LOCK('ap-run.illegal')"); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  Connection& db_;
};

/// Radios that one statement changes. It locks their rows while it runs, a millisecond or so; all APs
/// lock in the order of the MACs, so that no two wait for each other.
constexpr std::size_t kTogether = 16;

/// Runs rounds of changes until one says that it is done everywhere. A round gets its number, from 1.
void in_rounds(const Connection& db, const char* operation,
               const std::function<bool(int number)>& round) {
  for (int number = 1; number <= kMostRounds && !round(number); ++number) {
    db.note(Step(operation), "other APs have changed the same radios meanwhile (round %d)", number);
  }
}

/// A radio that other APs hear, too, and its list as it was read, with and without the AP.
struct Shared {
  std::string mac;
  std::string list;
  std::string left;
};

/// A statement that takes the AP out of the lists of `radios` radios.
struct Shortening {
  Attempt attempt;
  std::uint64_t radios;

  /// Whether another AP's statement has kept it from taking effect, at one of them at least.
  bool is_incomplete() const {
    const MyOutcome outcome = attempt.outcome();
    return outcome.fate == MyFate::repeat ||
           (outcome.fate == MyFate::done && outcome.changed_rows < radios);
  }
};

/// Writes the lists that are left, one by one.
std::vector<Shortening> shorten_as_read(Connection& db, const std::vector<Shared>& radios) {
  std::vector<Shortening> sent;
  sent.reserve(radios.size());
  const Turn turn(db);
  for (const Shared& radio : radios) {
    sent.push_back({db.attempt(Step(kWithdrawing, "(3/3) "),
                               "UPDATE `%s`.`illegal` SET `ap_sn`='%s', `utime`=NOW() WHERE "
                               "`mac`=UPPER('%s') AND `ap_sn`='%s'",
                               AP_CLIENT, radio.left, radio.mac, radio.list),
                    1});
  }
  return sent;
}

/// Has the server shorten the lists that it finds, unless they are the AP alone, several at a time.
std::vector<Shortening> shorten_as_found(Connection& db, int sn,
                                         const std::vector<Shared>& radios) {
  std::vector<Shortening> sent;
  const Turn turn(db);
  Statement macs;
  std::uint64_t count = 0;
  for (const Shared& radio : radios) {
    macs.text += (macs.text.empty() ? "" : ", ") + statement("'%s'", radio.mac).text;
    if (++count == kTogether || &radio == &radios.back()) {
      sent.push_back(
          {db.attempt(Step(kWithdrawing, "(3/3) "),
                      "UPDATE `%s`.`illegal` SET `ap_sn`=TRIM(BOTH ',' FROM REPLACE(CONCAT(',', "
                      "`ap_sn`, ','), ',%d,', ',')), `utime`=NOW() WHERE `mac` IN (%s) AND "
                      "FIND_IN_SET('%d', `ap_sn`) > 0 AND LOCATE(',', `ap_sn`) > 0",
                      AP_CLIENT, sn, macs, sn),
           std::exchange(count, 0)});
      macs.text.clear();
    }
  }
  return sent;
}

/// Whether the AP is now withdrawn everywhere.
bool withdraw(Connection& db, int sn, int round) {
  const Attempt own_rows = db.attempt(
      Step(kWithdrawing, "(1/3) "), "DELETE FROM `%s`.`illegal` WHERE `ap_sn`='%d'", AP_CLIENT, sn);
  Rows rows = db.ask_noting_none(
      query(Step(kWithdrawing, "(2/3) "),
            "SELECT `ap_sn`, `mac` FROM `%s`.`illegal` WHERE FIND_IN_SET('%d', `ap_sn`) > 0",
            AP_CLIENT, sn));
  bool is_done = own_rows.outcome().fate != MyFate::repeat;
  std::vector<Shared> radios;
  for (const Row& row : rows) {
    std::string list = row.text(0);
    std::string left = without_hearer(list, sn);
    // A row of this AP alone has been made since the DELETE.
    is_done = is_done && list != std::to_string(sn);
    if (!left.empty() && left != list) {
      radios.push_back({row.text(1), std::move(list), std::move(left)});
    }
  }
  if (radios.empty()) {
    return is_done;
  }
  // The trace shows each list that is written.
  const std::vector<Shortening> sent =
      round == 1 && is_tracing() ? shorten_as_read(db, radios) : shorten_as_found(db, sn, radios);
  return std::none_of(sent.begin(), sent.end(), std::mem_fn(&Shortening::is_incomplete)) && is_done;
}

using Cells = std::vector<const cell_record*>;

/// Stores radios, in order. Their lists are computed by the server, so that two APs that hear one at
/// once both get into its list, whoever comes first.
Attempt store(Connection& db, int sn, const Cells& cells) {
  Statement rows;
  for (const cell_record* cell : cells) {
    rows =
        statement("%s%s(NOW(), '%d', UPPER('%s'), '%s', %u, %u, '%s', '%s', '%s', %u)", rows,
                  rows.text.empty() ? SqlName("") : SqlName(", "), sn, cell->mac,
                  stored_text(cell->essid), cell->mode, cell->channel, stored_text(cell->quality),
                  stored_text(cell->signal), stored_text(cell->noise), cell->encryption);
  }
  return db.attempt(
      untraced,
      "INSERT INTO `%s`.`illegal` (`utime`, `ap_sn`, `mac`, `essid`, `mode`, `channel`, "
      "`quality`, `signal`, `noise`, `encryption`) VALUES %s ON DUPLICATE KEY UPDATE `utime`=NOW(), "
      "`ap_sn`=IF(FIND_IN_SET('%d', `ap_sn`) > 0, `ap_sn`, CONCAT_WS(',', `ap_sn`, '%d')), "
      "`essid`=VALUES(`essid`), `mode`=VALUES(`mode`), `channel`=VALUES(`channel`), "
      "`quality`=VALUES(`quality`), `signal`=VALUES(`signal`), `noise`=VALUES(`noise`), "
      "`encryption`=VALUES(`encryption`)",
      AP_CLIENT, rows, sn, sn);
}

/// Stores all of `parts`; afterwards these are the ones that the server has undone. Whether none is.
bool store_all(Connection& db, int sn, std::vector<Cells>& parts) {
  std::vector<std::pair<Attempt, Cells>> sent;
  sent.reserve(parts.size());
  {
    const Turn turn(db);
    for (Cells& part : parts) {
      sent.emplace_back(store(db, sn, part), std::move(part));
    }
  }
  parts.clear();
  for (auto& [attempt, part] : sent) {
    if (attempt.outcome().fate == MyFate::repeat) {
      parts.push_back(std::move(part));
    }
  }
  return parts.empty();
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
  in_rounds(db, kWithdrawing, [&](int round) { return withdraw(db, sn, round); });
}

void store_foreign_radios(Connection& db, int sn, std::span<const cell_record* const> cells) {
  std::map<std::string, const cell_record*> last;  // of each radio, in the order of their MACs
  for (const cell_record* cell : cells) {
    last[my_tolower(cell->mac)] = cell;
  }
  std::vector<Cells> parts;
  for (const auto& [mac, cell] : last) {
    if (parts.empty() || parts.back().size() == kTogether) {
      parts.emplace_back();
    }
    parts.back().push_back(cell);
  }
  if (!parts.empty()) {
    in_rounds(db, kStoringForeign, [&](int /*round*/) { return store_all(db, sn, parts); });
  }
}
