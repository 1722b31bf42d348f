#include "reports/poor_clients.h"

#include <algorithm>
#include <span>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/store_in_order.h"

namespace {

constexpr const char* kOperation = "update_ap_poor_client_db";

/// How many are read per band, as each is stored up to eight times: four times what the largest AP has.
constexpr std::size_t kMostClients = 2'048;

/// The latest time that every server can hold, in seconds since the epoch: 19 January 2038. A later one
/// becomes NULL at some servers, which then refuse the row.
constexpr std::uint32_t kLatestTime = 2'147'483'647;

/// Finds the client's row in the AP's poor-client table.
Query known_query(const Ap& ap, const poor_client_record& client) {
  return query(Step(kOperation), "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')",
               AP_POOR_CLIENT, ap.sn, client.mac);
}

void store(Ap& ap, std::uint32_t profile, const poor_client_record& client) {
  const std::uint32_t connected = std::min(client.connection_time, kLatestTime);
  const Rows known = ap.db.ask(known_query(ap, client));
  if (known.count() > 0) {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `band`='%d', `ssid`='%u', `rssi`='%d', "
              "`status`='%d', `connection_time`=FROM_UNIXTIME('%u'), `confirm`='1' WHERE "
              "`mac`=UPPER('%s')",
              AP_POOR_CLIENT, ap.sn, client.band, profile, client.rssi, client.status, connected,
              client.mac);
  } else if (known) {
    ap.db.run(Step(kOperation),
              "INSERT INTO `%s`.`AP_%03d` (`mac`, `band`, `ssid`, `rssi`, `status`, `utime`, "
              "`connection_time`) VALUES (UPPER('%s'), %d, %u, %d, %d, NOW(), "
              "FROM_UNIXTIME('%u'))",
              AP_POOR_CLIENT, ap.sn, client.mac, client.band, profile, client.rssi, client.status,
              connected);
  }
}

/// Stores the clients of a band under the profile of one of its slots, if it has one.
void store_slot(Ap& ap, Band band, int slot, const std::vector<poor_client_record>& clients) {
  const std::uint32_t profile = get_ap_pf_id(ap.db, ap.mac, band, slot);
  if (profile == 0) {
    return;
  }
  const auto fetch_ahead = [&](std::span<const poor_client_record> next) {
    for (const poor_client_record& client : next) {
      ap.db.fetch_ahead(known_query(ap, client));
    }
  };
  store_in_order(clients, &poor_client_record::mac, fetch_ahead,
                 [&](const poor_client_record& client) { store(ap, profile, client); });
}

}  // namespace

Listing<poor_client_record> read_poor_clients(const Report& report, Band band) {
  Listing<poor_client_record> clients{.most = kMostClients};
  read_list(clients, report, M("POOR_CLIENT %s", band_prefix(band, "5G ")), "ADDR",
            [&](const ReportSection& section) {
              return poor_client_record{
                  .mac = section.text("ADDR", 17, kMissingValue),
                  .band = band == Band::five_ghz ? 1 : 0,
                  .rssi = section.number<std::int32_t>("RSSI"),
                  .status = section.number<std::int32_t>("STATUS"),
                  .connection_time = section.number<std::uint32_t>("CONNECTION_TIME")};
            });
  return clients;
}

void update_ap_poor_client_db(Ap& ap, const Report& report) {
  if (!ap.db.open()) {
    return;
  }
  if (ap.look_up_reporting(kOperation) != 0) {
    ap.db.run(Step("drop_poor_client_table"), "DROP TABLE IF EXISTS `%s`.`AP_%03d`", AP_POOR_CLIENT,
              ap.sn);
  }
  create_poor_client_table(ap.db, ap.sn);
  for (const Band band : kBands) {
    const Listing<poor_client_record> clients = read_poor_clients(report, band);
    trace_unread(ap.db, Step(kOperation), clients);
    const bool is_stored = ap.sn != 0 && !clients.records.empty();
    for (int slot = 1; is_stored && slot <= kSlots; ++slot) {
      store_slot(ap, band, slot, clients.records);
    }
  }
}
