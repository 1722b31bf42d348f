#include "reports/station_list.h"

#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "platform/settings.h"
#include "reports/client_log.h"
#include "reports/kernel_announcement.h"
#include "reports/mesh_links.h"
#include "reports/profile_slots.h"
#include "reports/together.h"
#include "values/decimal.h"

namespace {

constexpr const char* kOperation = "update_ap_client_db";

constexpr std::size_t kLongestMac = 17;
constexpr std::size_t kLongestRate = 19;

constexpr int kAddressSetting = 30;  // all-zero: no connection log
constexpr int kLogSetting = 113;     // 0: off

constexpr unsigned int kStartColumn = 1;  // `stime` of a client table's row

client_record read_station(const Report& report, const std::string& section) {
  client_record client;
  client.mac = value_or_marker(report, section, "ADDR", kLongestMac);
  client.aid = cut_to<std::uint16_t>(report.unsigned_number(section, "AID"));
  client.channel = cut_to<std::uint16_t>(report.unsigned_number(section, "CHAN"));
  client.tx_rate = value_or_marker(report, section, "RATE", kLongestRate);
  client.rx_rate = value_or_marker(report, section, "RXRATE", kLongestRate);
  client.rssi = report.number(section, "RSSI");
  client.idle = report.unsigned_number(section, "IDLE");
  client.tx_seq = report.unsigned_number(section, "TXSEQ");
  client.rx_seq = report.unsigned_number(section, "RXSEQ");
  return client;
}

bool connection_log_is_on() {
  if (RI(kLogSetting) == 0) {
    return false;
  }
  const std::string address = RS(kAddressSetting);
  return address != "0000:0000:0000:0000:0000:0000:0000:0000" && address != "0.0.0.0";
}

void confirm_before_update(Connection& db, int sn) {
  db.run(Step("confirm_before_update"), "UPDATE `%s`.`AP_%03d` SET `confirm`=0", AP_CLIENT, sn);
}

void confirm_after_update(Connection& db, int sn) {
  db.run(Step("confirm_after_update"), "DELETE FROM `%s`.`AP_%03d` WHERE `confirm`=0 ", AP_CLIENT,
         sn);
}

void update_known(Connection& db, int sn, const client_record& client) {
  db.run(Step(kOperation),
         "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `ssid`='%u', `aid`='%u', `channel`='%u', "
         "`tx_rate`='%s', `rx_rate`='%s', `rssi`='%d', `idle`='%u', `tx_seq`='%u', `rx_seq`='%u', "
         "`confirm`='1' WHERE `mac`=UPPER('%s')",
         AP_CLIENT, sn, client.ssid, client.aid, client.channel,
         sql_text(stored_text(client.tx_rate)).c_str(),
         sql_text(stored_text(client.rx_rate)).c_str(), client.rssi, client.idle, client.tx_seq,
         client.rx_seq, sql_text(client.mac).c_str());
}

void insert_new(Connection& db, int sn, const client_record& client) {
  db.run(Step(kOperation),
         "INSERT INTO `%s`.`AP_%03d` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, "
         "`rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`) VALUES (UPPER('%s'), NOW(), %u, %u, %u, "
         "'%s', '%s', %d, %u, %u, %u)",
         AP_CLIENT, sn, sql_text(client.mac).c_str(), client.ssid, client.aid, client.channel,
         sql_text(stored_text(client.tx_rate)).c_str(),
         sql_text(stored_text(client.rx_rate)).c_str(), client.rssi, client.idle, client.tx_seq,
         client.rx_seq);
}

/// The look-ups under way for a station: the profiles of its radio and, if it is going to be stored,
/// its row in the AP's client table.
struct Inquiry {
  Question profiles;
  std::optional<Question> known;
};

Inquiry inquire(Connection& db, const std::string& mac, int sn, const reported_station& station) {
  Inquiry inquiry{ask_ap_pf_id(db, mac, station.band), std::nullopt};
  if (sn != 0 && is_served(station.client)) {
    inquiry.known =
        db.ask_ahead(Step(kOperation), "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')",
                     AP_CLIENT, sn, sql_text(station.client.mac).c_str());
  }
  return inquiry;
}

/// Stores a station that is served. What is written here is not waited for.
void store_station(Connection& db, int sn, const Question& known, const client_record& client,
                   ClientLog& log) {
  known.trace();
  Rows rows = known.rows();
  if (!rows) {
    return;
  }
  if (const std::optional<Row> row = rows.next()) {
    update_known(db, sn, client);
    if (connection_log_is_on()) {
      log.ap_client_connection_log(client, row->text(kStartColumn));
    }
  } else {
    insert_new(db, sn, client);
  }
}

/// Stores stations of which none comes twice; their look-ups go out together.
void store_together(Connection& db, const std::string& mac, int sn,
                    std::span<const reported_station> stations, ClientLog& log) {
  std::vector<Inquiry> inquiries;
  for (const reported_station& station : stations) {
    inquiries.push_back(inquire(db, mac, sn, station));
  }
  log.finish();  // its names come ahead of these answers
  for (std::size_t i = 0; i < stations.size(); ++i) {
    client_record client = stations[i].client;
    client.ssid = get_ap_pf_id(inquiries[i].profiles, stations[i].slot);
    if (!is_served(client)) {
      db.note(Step(kOperation), "%s has an empty rate: left out", client.mac.c_str());
      continue;
    }
    if (inquiries[i].known) {
      store_station(db, sn, *inquiries[i].known, client, log);
    }
    announce_to_kernel(client.mac, mac);
  }
}

void store_stations(Connection& db, const std::string& mac, int sn,
                    std::span<const reported_station> stations) {
  ClientLog log(db, mac);
  while (!stations.empty()) {
    const std::size_t together = count_together(
        stations,
        [](const reported_station& station) -> const std::string& { return station.client.mac; });
    store_together(db, mac, sn, stations.first(together), log);
    stations = stations.subspan(together);
  }
  log.finish();
}

}  // namespace

Listing<reported_station> read_stations(const Report& report) {
  Listing<reported_station> stations;
  for (const Band band : kBands) {
    for (int slot = 1; slot <= kSlots; ++slot) {
      read_list(stations, report, M("%02d client %s", slot, band_prefix(band, "5G ")), "ADDR",
                kNoLimit, [&](const std::string& section) {
                  return reported_station{band, slot, read_station(report, section)};
                });
    }
  }
  return stations;
}

bool is_served(const client_record& client) {
  return !client.tx_rate.empty();
}

int update_ap_client_db(const std::string& mac, const Report& report) {
  Connection db(mac);
  if (!db) {
    return db.result();
  }
  const int sn = get_reporting_ap_sn(db, mac, kOperation);
  create_client_table(db, sn);
  const Listing<reported_station> stations = read_stations(report);
  trace_stranded(db, Step(kOperation), stations.stranded);
  if (sn != 0) {
    confirm_before_update(db, sn);
  }
  store_stations(db, mac, sn, stations.records);
  if (sn != 0) {
    confirm_after_update(db, sn);
  }
  update_ap_mesh_client_db(db, mac, report);
  return db.close();
}
