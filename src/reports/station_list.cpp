#include "reports/station_list.h"

#include <fcntl.h>
#include <unistd.h>

#include <span>
#include <string>

#include "db/registry.h"
#include "db/schema.h"
#include "platform/settings.h"
#include "platform/system_log.h"
#include "reports/mesh_links.h"
#include "reports/store_in_order.h"
#include "trace/trace_log.h"
#include "values/mac_address.h"
#include "values/settings.h"

namespace {

constexpr const char* kOperation = "update_ap_client_db";
constexpr const char* kLogging = "ap_client_connection_log";

constexpr unsigned int kStartColumn = 1;  // `stime` of a client table's row

client_record read_station(const ReportSection& section) {
  return {.mac = section.text("ADDR", 17, kMissingValue),
          .aid = section.number<std::uint16_t>("AID"),
          .channel = section.number<std::uint16_t>("CHAN"),
          .tx_rate = section.text("RATE", 19, kMissingValue),
          .rx_rate = section.text("RXRATE", 19, kMissingValue),
          .rssi = section.number<std::int32_t>("RSSI"),
          .idle = section.number<std::uint32_t>("IDLE"),
          .tx_seq = section.number<std::uint32_t>("TXSEQ"),
          .rx_seq = section.number<std::uint32_t>("RXSEQ")};
}

/// Finds the station's row in the AP's client table.
Query known_query(const Ap& ap, const client_record& client) {
  return query(Step(kOperation), "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')", AP_CLIENT,
               ap.sn, client.mac);
}

// The client connection log: a line in the system log for each known station, with the names of
// station, AP and SSID.

bool connection_log_is_on() {
  return RI(setting::kClientLog) != 0 && !setting::is_unset_address(RS(setting::kLogAddress));
}

Query ssid_query(std::uint32_t profile) {
  return query(Step(kLogging), "SELECT SSID FROM `%s`.`%s` WHERE `SN`=%d", AP_INFO,
               table_name(InfoTable::ap_profile), static_cast<int>(profile));
}

Query ap_name_query(const Ap& ap) {
  return query(Step(kLogging), "SELECT NAME FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_INFO,
               table_name(InfoTable::ap_list), ap.mac);
}

Query client_name_query(const client_record& client) {
  return query(Step(kLogging), "SELECT Name FROM `%s`.`%s` WHERE `MAC`=UPPER('%s')", AP_USER,
               table_name(InfoTable::client_name), client.mac);
}

void log_connection(Ap& ap, const client_record& client, const std::string& connected_time) {
  const auto cut = [](const std::string& name) { return name.substr(0, 255); };
  const std::optional<std::string> ssid = ap.db.look_up(ssid_query(client.ssid));
  const std::optional<std::string> ap_name = ssid ? ap.db.look_up(ap_name_query(ap)) : ssid;
  if (!ap_name) {
    return;
  }
  Rows names = ap.db.ask(client_name_query(client));
  const std::optional<Row> name = names.next();
  const std::string text =
      M("<%d>client_name=\"%s\" client_mac=\"%s\" AP_name=\"%s\" SSID=\"%s\" Channel=\"%d\" "
        "Rate=\"%s\" Connected_time=\"%s\"",
        RI(setting::kClientLogPriority), cut(name ? name->text(0) : client.mac).c_str(),
        client.mac.c_str(), cut(*ap_name).c_str(), cut(*ssid).c_str(), client.channel,
        client.tx_rate.c_str(), connected_time.c_str());
  my_syslog(text.substr(0, 1023));
}

/// Fetches ahead what `store_station` will ask about each of these stations.
void fetch_ahead(Ap& ap, std::span<const reported_station> stations) {
  if (ap.sn == 0) {
    return;
  }
  for (const reported_station& station : stations) {
    if (is_served(station.client)) {
      ap.db.fetch_ahead(profile_slots_query(ap.mac, station.band));
      ap.db.fetch_ahead(known_query(ap, station.client));
    }
  }
  if (!connection_log_is_on()) {
    return;
  }
  for (const auto& [band, slot, client] : stations) {
    if (ap.db.peek(known_query(ap, client)).count() > 0) {
      ap.db.fetch_ahead(ssid_query(peek_ap_pf_id(ap.db, ap.mac, band, slot)));
      ap.db.fetch_ahead(ap_name_query(ap));
      ap.db.fetch_ahead(client_name_query(client));
    }
  }
}

/// Makes or updates the station's row.
void store_served(Ap& ap, const client_record& client) {
  Rows known = ap.db.ask(known_query(ap, client));
  if (!known) {
    return;
  }
  const std::optional<Row> row = known.next();
  if (!row) {
    ap.db.run(Step(kOperation),
              "INSERT INTO `%s`.`AP_%03d` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, "
              "`rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`) VALUES (UPPER('%s'), NOW(), %u, %u, "
              "%u, '%s', '%s', %d, %u, %u, %u)",
              AP_CLIENT, ap.sn, client.mac, client.ssid, client.aid, client.channel,
              stored_text(client.tx_rate), stored_text(client.rx_rate), client.rssi, client.idle,
              client.tx_seq, client.rx_seq);
    return;
  }
  ap.db.run(Step(kOperation),
            "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `ssid`='%u', `aid`='%u', `channel`='%u', "
            "`tx_rate`='%s', `rx_rate`='%s', `rssi`='%d', `idle`='%u', `tx_seq`='%u', "
            "`rx_seq`='%u', `confirm`='1' WHERE `mac`=UPPER('%s')",
            AP_CLIENT, ap.sn, client.ssid, client.aid, client.channel, stored_text(client.tx_rate),
            stored_text(client.rx_rate), client.rssi, client.idle, client.tx_seq, client.rx_seq,
            client.mac);
  if (connection_log_is_on()) {
    log_connection(ap, client, row->text(kStartColumn));
  }
}

/// Writes the station's MAC in lower case and a line feed, in one write, to the kernel's list, if there
/// is one. A text that is no MAC is traced instead.
void announce_to_kernel(const Ap& ap, const std::string& station) {
  if (!is_mac(station)) {
    ap_debug_log({"announce_to_kernel", ap.mac}, "\"%s\" is no MAC: not announced",
                 station.c_str());
    return;
  }
  // Opened for each station, so that each write is the first of its file, as a shell's would be.
  const int file =
      open("/proc/net/xt_APClient", O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    return;
  }
  const std::string line = my_tolower(station) + "\n";
  [[maybe_unused]] const ssize_t written = write(file, line.data(), line.size());
  close(file);
}

void store_station(Ap& ap, const reported_station& station) {
  client_record client = station.client;
  if (!is_served(client)) {
    ap.db.note(Step(kOperation), "%s has an empty rate: left out", client.mac.c_str());
    return;
  }
  if (ap.sn != 0) {
    client.ssid = get_ap_pf_id(ap.db, ap.mac, station.band, station.slot);
    store_served(ap, client);
  }
  announce_to_kernel(ap, client.mac);
}

}  // namespace

Listing<reported_station> read_stations(const Report& report) {
  Listing<reported_station> stations;
  for (const Band band : kBands) {
    for (int slot = 1; slot <= kSlots; ++slot) {
      read_list(stations, report, M("%02d client %s", slot, band_prefix(band, "5G ")), "ADDR",
                [&](const ReportSection& section) {
                  return reported_station{band, slot, read_station(section)};
                });
    }
  }
  return stations;
}

bool is_served(const client_record& client) {
  return !client.tx_rate.empty();
}

void update_ap_client_db(Ap& ap, const Report& report) {
  if (!ap.db.open()) {
    return;
  }
  ap.look_up_reporting(kOperation);
  create_client_table(ap.db, ap.sn);
  const Listing<reported_station> stations = read_stations(report);
  trace_unread(ap.db, Step(kOperation), stations);
  if (ap.sn != 0) {
    ap.db.run(Step("confirm_before_update"), "UPDATE `%s`.`AP_%03d` SET `confirm`=0", AP_CLIENT,
              ap.sn);
  }
  const auto mac_of = [](const reported_station& station) -> const std::string& {
    return station.client.mac;
  };
  store_in_order(
      stations.records, mac_of, [&](auto next) { fetch_ahead(ap, next); },
      [&](const reported_station& station) { store_station(ap, station); });
  if (ap.sn != 0) {
    ap.db.run(Step("confirm_after_update"), "DELETE FROM `%s`.`AP_%03d` WHERE `confirm`=0 ",
              AP_CLIENT, ap.sn);
  }
  update_ap_mesh_client_db(ap, report);
}
