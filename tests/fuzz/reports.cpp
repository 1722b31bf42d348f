// Fuzz target: a report, and all that is read from its sections before the database is asked.

#include "fuzz/input.h"
#include "reports/mesh_links.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"
#include "reports/poor_clients.h"
#include "reports/station_list.h"
#include "reports/system_status.h"

namespace {

void must_fit(const std::string& text, std::size_t most) {
  must(text.size() <= most);
  must_be_closed(statement("'%s'", text));
}

/// A text that goes into a column is at most as long as that.
void must_fit(const std::string& text, const char* table, const char* column) {
  must_fit(text, width_of(table, column));
}

template <typename Record, typename Check>
void must_fit(const Listing<Record>& listing, Check check) {
  must(listing.records.size() <= listing.most);
  for (const Record& record : listing.records) {
    check(record);
  }
}

void read_sections(const Report& report) {
  const system_record status = read_system_status(report);
  must_fit(status.mac, "ap_list", "MAC");
  must_fit(status.cpu, "ap_list", "cpu_util");
  must_fit(status.memory, "ap_list", "memory_util");
  must_fit(status.version, "ap_list", "fw_version");
  must_fit(status.uptime, "ap_list", "uptime");
  must_fit(read_radios(report), [](const radio_record& radio) {
    must_fit(radio.mac, "legal", "mac");
    must_fit(radio.essid, "legal", "essid");
    must(radio.mode <= 1);
    must_fit(radio.rate, "legal", "rate");
    must_fit(radio.transmit_power, "legal", "transmit_power");
    must_fit(radio.quality, "legal", "quality");
    must_fit(radio.signal, "legal", "signal");
    must_fit(radio.noise, "legal", "noise");
    must_fit(radio.security, "legal", "security");
  });
  must_fit(read_cells(report), [](const cell_record& cell) {
    must_fit(cell.mac, "illegal", "mac");
    must_fit(cell.essid, "illegal", "essid");
    must_fit(cell.quality, "illegal", "quality");
    must_fit(cell.signal, "illegal", "signal");
    must_fit(cell.noise, "illegal", "noise");
    must(cell.mode <= 1 && cell.encryption <= 1);
  });
  must_fit(read_stations(report), [](const reported_station& station) {
    must(station.slot >= 1 && station.slot <= kSlots);
    must_fit(station.client.mac, "block", "mac");
    must_fit(station.client.tx_rate, "block", "tx_rate");
    must_fit(station.client.rx_rate, "block", "rx_rate");
  });
  for (const Band band : kBands) {
    must_fit(read_poor_clients(report, band),
             [](const poor_client_record& client) { must_fit(client.mac, "block", "mac"); });
  }
  must_fit(read_mesh_peers(report), [](const mesh_peer& peer) {  // parts of longer texts
    must_fit(peer.mac, 17);
    must_fit(peer.rssi, 9);
  });
  const mesh_route route = read_mesh_route(report);
  must_fit(route.gateway, "client", "gateway");
  must_be_closed(statement("'%s','%s'", route.hop, route.ttl));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const std::optional<Report> report = report_of(data, size)) {
    read_sections(*report);
  }
  return 0;
}
