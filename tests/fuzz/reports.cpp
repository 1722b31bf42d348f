// Fuzz target: a report, and all that is read from its sections before the database is asked.

#include "fuzz/input.h"
#include "reports/mesh_links.h"
#include "reports/neighbour_scan.h"
#include "reports/own_radios.h"
#include "reports/poor_clients.h"
#include "reports/station_list.h"
#include "reports/system_status.h"

namespace {

/// A text that goes into a statement is at most as long as its column.
void must_fit(const std::string& text, std::size_t most) {
  must(text.size() <= most);
  must_be_closed(statement("'%s'", text));
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
  must_fit(status.mac, 17);
  must_fit(status.cpu, 9);
  must_fit(status.memory, 9);
  must_fit(status.version, 255);
  must_fit(status.uptime, 31);
  must_fit(read_radios(report), [](const radio_record& radio) {
    must_fit(radio.mac, 17);
    must_fit(radio.essid, 127);
    must(radio.mode <= 1);
    must_fit(radio.rate, 19);
    must_fit(radio.transmit_power, 9);
    must_fit(radio.quality, 9);
    must_fit(radio.signal, 9);
    must_fit(radio.noise, 9);
    must_fit(radio.security, 255);
  });
  must_fit(read_cells(report), [](const cell_record& cell) {
    must_fit(cell.mac, 17);
    must_fit(cell.essid, 127);
    must_fit(cell.quality, 9);
    must_fit(cell.signal, 9);
    must_fit(cell.noise, 9);
    must(cell.mode <= 1 && cell.encryption <= 1);
  });
  must_fit(read_stations(report), [](const reported_station& station) {
    must(station.slot >= 1 && station.slot <= kSlots);
    must_fit(station.client.mac, 17);
    must_fit(station.client.tx_rate, 19);
    must_fit(station.client.rx_rate, 19);
  });
  for (const Band band : kBands) {
    must_fit(read_poor_clients(report, band),
             [](const poor_client_record& client) { must_fit(client.mac, 17); });
  }
  must_fit(read_mesh_peers(report), [](const mesh_peer& peer) {
    must_fit(peer.mac, 17);
    must_fit(peer.rssi, 9);
  });
  const mesh_route route = read_mesh_route(report);
  must_fit(route.gateway, 39);
  must_be_closed(statement("'%s','%s'", route.hop, route.ttl));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const std::optional<Report> report = report_of(data, size)) {
    read_sections(*report);
  }
  return 0;
}
