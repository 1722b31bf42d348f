#include "reports/neighbour_scan.h"

#include <algorithm>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "lifecycle/illegal_table.h"
#include "reports/client_record.h"

namespace {

constexpr const char* kOperation = "update_ap_legal_table_for_refer";

/// How often the foreign radios are gone through again that the server has given up.
constexpr int kRepetitions = 10;

cell_record read_cell(const Report& report, const std::string& section, Band band) {
  const auto lower_case = [&](const char* key, const char* absent) {
    return my_tolower(std::string(report.text(section, key).value_or(absent)));
  };
  cell_record cell;
  cell.mac = value_or_marker(report, section, "Address", 17);
  cell.essid = value_or_marker(report, section, "ESSID", 127);
  cell.mode = lower_case("Mode", "Master").starts_with("master") ? 0 : 1;
  cell.channel = frequency_to_channel(band, report.text(section, "Frequency")).value_or(0);
  cell.quality = value_or_marker(report, section, "Quality", 9);
  cell.signal = level_value(report, section, "Signal");
  cell.noise = level_value(report, section, "Noise");
  cell.encryption = lower_case("Encryption_key", "OFF") == "off" ? 0 : 1;
  return cell;
}

std::string sql_value(const std::string& text) {
  return sql_text(stored_text(text));
}

Question ask_owner_ssid(Connection& db, const cell_record& cell) {
  return db.ask(untraced,
                "SELECT `essid` FROM `%s`.`legal` WHERE `mac`=UPPER('%s') AND "
                "`refer_ap`=0",
                AP_CLIENT, sql_text(cell.mac).c_str());
}

/// Stores a radio of the AP whose number reads `owner`.
void store_sighting(Connection& db, int sn, const std::string& owner, const cell_record& cell) {
  std::optional<Question> owner_ssid;
  if (cell.essid == kMissingValue) {
    owner_ssid = ask_owner_ssid(db, cell);
  }
  const Question profile = ask_profile_sn_by_ssid(db, cell.essid);
  std::string essid = stored_text(cell.essid);
  if (owner_ssid) {
    Rows rows = owner_ssid->rows();
    const std::optional<Row> row = rows.next();
    essid = row ? row->text(0) : "";
  }
  const bool is_number =
      !owner.empty() && owner.find_first_not_of("0123456789") == std::string::npos;
  db.run(Step(kOperation, "(2/2) "), is_number ? Delivery::send : Delivery::withhold,
         "REPLACE INTO `%s`.`legal` (`utime`, `ap`, `refer_ap`, `mac`, `essid`, `essid_sn`, "
         "`mode`, `channel`, `quality`, `signal`, `noise`) VALUES (NOW(), %s, %d, UPPER('%s'), "
         "'%s', %u, %u, %u, '%s', '%s', '%s') ",
         AP_CLIENT, owner.c_str(), sn, sql_text(cell.mac).c_str(), sql_text(essid).c_str(),
         static_cast<unsigned int>(profile_sn(profile)), cell.mode, cell.channel,
         sql_value(cell.quality).c_str(), sql_value(cell.signal).c_str(),
         sql_value(cell.noise).c_str());
}

/// Stores a radio of nobody we know. The list of hearers is computed by the server, so that two APs
/// that hear the radio at once both get into it, whoever comes first.
Attempt store_foreign(Connection& db, int sn, const cell_record& cell) {
  return db.attempt(
      untraced,
      "INSERT INTO `%s`.`illegal` (`utime`, `ap_sn`, `mac`, `essid`, `mode`, `channel`, "
      "`quality`, `signal`, `noise`, `encryption`) VALUES (NOW(), '%d', UPPER('%s'), '%s', %u, "
      "%u, '%s', '%s', '%s', %u) ON DUPLICATE KEY UPDATE `utime`=NOW(), "
      "`ap_sn`=IF(FIND_IN_SET('%d', `ap_sn`) > 0, `ap_sn`, CONCAT(`ap_sn`, ',%d')), "
      "`essid`=VALUES(`essid`), `mode`=VALUES(`mode`), `channel`=VALUES(`channel`), "
      "`quality`=VALUES(`quality`), `signal`=VALUES(`signal`), `noise`=VALUES(`noise`), "
      "`encryption`=VALUES(`encryption`)",
      AP_CLIENT, sn, sql_text(cell.mac).c_str(), sql_value(cell.essid).c_str(), cell.mode,
      cell.channel, sql_value(cell.quality).c_str(), sql_value(cell.signal).c_str(),
      sql_value(cell.noise).c_str(), cell.encryption, sn, sn);
}

/// A foreign radio whose storing is under way.
struct Foreign {
  const cell_record* cell;
  Attempt attempt;
};

/// Stores a cell; a foreign one is put behind `foreign`.
void store_cell(Connection& db, int sn, const cell_record& cell, std::vector<Foreign>& foreign) {
  Rows rows = db.ask(Step(kOperation, "(1/2) "),
                     "SELECT `ap` FROM `%s`.`legal` WHERE `refer_ap`=0 AND `mac`=UPPER('%s')",
                     AP_CLIENT, sql_text(cell.mac).c_str())
                  .rows();
  if (const std::optional<Row> owner = rows.next()) {
    store_sighting(db, sn, owner->text(0), cell);
  } else {
    foreign.push_back({&cell, store_foreign(db, sn, cell)});
  }
}

/// Sends again what the server has given up, in the order of the cells. Once a radio is among
/// these, all its later cells follow, so that the last one's values stand.
void repeat_given_up(Connection& db, int sn, std::vector<Foreign> foreign) {
  for (int repetition = 0; repetition < kRepetitions && !foreign.empty(); ++repetition) {
    std::vector<const cell_record*> given_up;
    for (const Foreign& radio : foreign) {
      const bool follows = std::any_of(given_up.begin(), given_up.end(), [&](const auto* cell) {
        return my_tolower(cell->mac) == my_tolower(radio.cell->mac);
      });
      if (follows || radio.attempt.outcome().fate == MyFate::repeat) {
        given_up.push_back(radio.cell);
      }
    }
    foreign.clear();
    for (const cell_record* cell : given_up) {
      db.note(Step(kOperation), "%s was given up in a deadlock: stored again", cell->mac.c_str());
      foreign.push_back({cell, store_foreign(db, sn, *cell)});
    }
  }
}

}  // namespace

Listing<cell_record> read_cells(const Report& report) {
  Listing<cell_record> cells;
  for (const Band band : kBands) {
    read_list(cells, report, M("Cell %s", band_prefix(band, "5G ")), "Address", kNoLimit,
              [&](const std::string& section) { return read_cell(report, section, band); });
  }
  return cells;
}

int update_ap_legal_table_for_refer(const std::string& mac, const Report& report) {
  Connection db(mac);
  if (!db) {
    return db.result();
  }
  const int sn = get_reporting_ap_sn(db, mac, kOperation);
  delete_ap_illegal_table(db, sn);
  if (sn == 0) {
    return db.close();
  }
  delete_ap_legal_table_for_refer(db, sn);
  const Listing<cell_record> cells = read_cells(report);
  trace_stranded(db, Step(kOperation), cells.stranded);
  std::vector<Foreign> foreign;
  for (const cell_record& cell : cells.records) {
    store_cell(db, sn, cell, foreign);
  }
  repeat_given_up(db, sn, std::move(foreign));
  return db.close();
}

void delete_ap_legal_table_for_refer(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table_for_refer"), "DELETE FROM `%s`.`legal` WHERE `refer_ap`=%d",
         AP_CLIENT, sn);
}
