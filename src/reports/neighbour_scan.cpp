#include "reports/neighbour_scan.h"

#include <algorithm>
#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/foreign_radios.h"
#include "reports/together.h"
#include "values/client_record.h"

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

/// A radio of an AP that we know, and the look-ups under way for its row.
struct Sighting {
  std::string owner;  // the AP's number, as it was read
  Question profile;
  std::optional<Question> owner_ssid;  // for a radio that hides its SSID
};

Sighting inquire(Connection& db, std::string owner, const cell_record& cell) {
  std::optional<Question> owner_ssid;
  if (cell.essid == kMissingValue) {
    owner_ssid = ask_owner_ssid(db, cell);
  }
  return {std::move(owner), ask_profile_sn_by_ssid(db, cell.essid), owner_ssid};
}

void store_sighting(Connection& db, int sn, const Sighting& sighting, const cell_record& cell) {
  std::string essid = stored_text(cell.essid);
  if (sighting.owner_ssid) {
    Rows rows = sighting.owner_ssid->rows();
    const std::optional<Row> row = rows.next();
    essid = row ? row->text(0) : "";
  }
  const std::string& owner = sighting.owner;
  const bool is_number =
      !owner.empty() && owner.find_first_not_of("0123456789") == std::string::npos;
  db.run(Step(kOperation, "(2/2) "), is_number ? Delivery::send : Delivery::withhold,
         "REPLACE INTO `%s`.`legal` (`utime`, `ap`, `refer_ap`, `mac`, `essid`, `essid_sn`, "
         "`mode`, `channel`, `quality`, `signal`, `noise`) VALUES (NOW(), %s, %d, UPPER('%s'), "
         "'%s', %u, %u, %u, '%s', '%s', '%s') ",
         AP_CLIENT, owner.c_str(), sn, sql_text(cell.mac).c_str(), sql_text(essid).c_str(),
         static_cast<unsigned int>(profile_sn(sighting.profile)), cell.mode, cell.channel,
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
      "`ap_sn`=IF(FIND_IN_SET('%d', `ap_sn`) > 0, `ap_sn`, CONCAT_WS(',', `ap_sn`, '%d')), "
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

/// Asks for the AP that a cell is a radio of. Storing cells does not change the answer.
Question ask_owner(Connection& db, const cell_record& cell) {
  return db.ask_ahead(Step(kOperation, "(1/2) "),
                      "SELECT `ap` FROM `%s`.`legal` WHERE `refer_ap`=0 AND `mac`=UPPER('%s')",
                      AP_CLIENT, sql_text(cell.mac).c_str());
}

/// Stores a few cells and puts the foreign ones behind `foreign`. First all their owners are asked
/// for, then what the radios of known APs need, then they are stored, in order.
void store_together(Connection& db, int sn, std::span<const cell_record> cells,
                    std::vector<Foreign>& foreign) {
  std::vector<Question> owners;
  for (const cell_record& cell : cells) {
    owners.push_back(ask_owner(db, cell));
  }
  std::vector<std::optional<Sighting>> sightings(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    Rows rows = owners[i].rows();
    if (const std::optional<Row> owner = rows.next()) {
      sightings[i] = inquire(db, owner->text(0), cells[i]);
    }
  }
  for (std::size_t i = 0; i < cells.size(); ++i) {
    owners[i].trace();
    if (sightings[i]) {
      store_sighting(db, sn, *sightings[i], cells[i]);
    } else {
      foreign.push_back({&cells[i], store_foreign(db, sn, cells[i])});
    }
  }
}

/// Stores all cells; returns the foreign ones.
std::vector<Foreign> store_cells(Connection& db, int sn, std::span<const cell_record> cells) {
  std::vector<Foreign> foreign;
  for (std::size_t done = 0; done < cells.size(); done += kTogether) {
    const std::size_t together = std::min(cells.size() - done, kTogether);
    store_together(db, sn, cells.subspan(done, together), foreign);
  }
  return foreign;
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
  repeat_given_up(db, sn, store_cells(db, sn, cells.records));
  return db.close();
}

void delete_ap_legal_table_for_refer(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table_for_refer"), "DELETE FROM `%s`.`legal` WHERE `refer_ap`=%d",
         AP_CLIENT, sn);
}
