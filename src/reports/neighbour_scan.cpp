#include "reports/neighbour_scan.h"

#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/foreign_radios.h"
#include "reports/store_in_order.h"
#include "values/client_record.h"

namespace {

constexpr const char* kOperation = "update_ap_legal_table_for_refer";

cell_record read_cell(const ReportSection& section, Band band) {
  const bool is_ap = my_tolower(section.text("Mode", kWhole, "Master")).starts_with("master");
  const bool is_open = my_tolower(section.text("Encryption_key", kWhole, "OFF")) == "off";
  return {.mac = section.text("Address", 17, kMissingValue),
          .essid = section.text("ESSID", 127, kMissingValue),
          .mode = static_cast<std::uint8_t>(is_ap ? 0 : 1),
          .channel = frequency_to_channel(band, section.text("Frequency", kWhole, "")),
          .quality = section.text("Quality", 9, ""),
          .signal = section.level("Signal"),
          .noise = section.level("Noise"),
          .encryption = static_cast<std::uint8_t>(is_open ? 0 : 1)};
}

/// Finds the AP that a cell is a radio of. Storing cells does not change the answer.
Query owner_query(const cell_record& cell) {
  return query(Step(kOperation, "(1/2) "),
               "SELECT `ap` FROM `%s`.`legal` WHERE `refer_ap`=0 AND `mac`=UPPER('%s')", AP_CLIENT,
               cell.mac);
}

/// Finds the SSID of a managed radio that hides it.
Query owner_ssid_query(const cell_record& cell) {
  return query(untraced,
               "SELECT `essid` FROM `%s`.`legal` WHERE `mac`=UPPER('%s') AND `refer_ap`=0",
               AP_CLIENT, cell.mac);
}

bool hides_ssid(const cell_record& cell) {
  return cell.essid == kMissingValue;
}

/// Fetches ahead the queries of `store_sightings` for these cells.
void fetch_ahead(Ap& ap, std::span<const cell_record> cells) {
  for (const cell_record& cell : cells) {
    ap.db.fetch_ahead(owner_query(cell));
  }
  for (const cell_record& cell : cells) {
    if (ap.db.peek(owner_query(cell)).count() > 0) {
      ap.db.fetch_ahead(profile_sn_query(cell.essid));
      if (hides_ssid(cell)) {
        ap.db.fetch_ahead(owner_ssid_query(cell));
      }
    }
  }
}

/// Stores a radio of the managed AP whose number was read as `owner`.
void store_sighting(Ap& ap, const std::string& owner, const cell_record& cell) {
  const std::string essid =
      hides_ssid(cell) ? ap.db.ask(owner_ssid_query(cell)).first_text().value_or("") : cell.essid;
  const auto essid_sn = static_cast<unsigned int>(get_profile_sn_by_ssid(ap.db, cell.essid));
  ap.db.run(Step(kOperation, "(2/2) "),
            "REPLACE INTO `%s`.`legal` (`utime`, `ap`, `refer_ap`, `mac`, `essid`, `essid_sn`, "
            "`mode`, `channel`, `quality`, `signal`, `noise`) VALUES (NOW(), %s, %d, UPPER('%s'), "
            "'%s', %u, %u, %u, '%s', '%s', '%s') ",
            AP_CLIENT, SqlNumber{owner}, ap.sn, cell.mac, essid, essid_sn, cell.mode, cell.channel,
            cell.quality, cell.signal, cell.noise);
}

/// Stores the cells that are radios of managed APs; returns the others.
std::vector<const cell_record*> store_sightings(Ap& ap, const std::vector<cell_record>& cells) {
  std::vector<const cell_record*> foreign;
  const auto store_cell = [&](const cell_record& cell) {
    Rows owners = ap.db.ask(owner_query(cell));
    if (const std::optional<Row> owner = owners.next()) {
      store_sighting(ap, owner->text(0), cell);
    } else {
      foreign.push_back(&cell);
    }
  };
  store_in_order(
      cells, &cell_record::mac, [&](auto next) { fetch_ahead(ap, next); }, store_cell);
  return foreign;
}

}  // namespace

Listing<cell_record> read_cells(const Report& report) {
  Listing<cell_record> cells;
  for (const Band band : kBands) {
    read_list(cells, report, M("Cell %s", band_prefix(band, "5G ")), "Address",
              [&](const ReportSection& section) { return read_cell(section, band); });
  }
  return cells;
}

void update_ap_legal_table_for_refer(Ap& ap, const Report& report) {
  if (!ap.db.open() || ap.look_up_reporting(kOperation) == 0) {
    return;
  }
  delete_ap_illegal_table(ap.db, ap.sn);
  const Listing<cell_record> cells = read_cells(report);
  std::vector<const cell_record*> foreign;
  ap.db.in_transaction(Step(kOperation), [&] {
    delete_ap_legal_table_for_refer(ap.db, ap.sn);
    trace_unread(ap.db, Step(kOperation), cells);
    foreign = store_sightings(ap, cells.records);
  });
  store_foreign_radios(ap.db, ap.sn, foreign);
}

void delete_ap_legal_table_for_refer(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table_for_refer"), "DELETE FROM `%s`.`legal` WHERE `refer_ap`=%d",
         AP_CLIENT, sn);
}
