#include "reports/poor_clients.h"

#include <span>
#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/profile_slots.h"
#include "reports/together.h"
#include "values/decimal.h"

namespace {

constexpr const char* kOperation = "update_ap_poor_client_db";
constexpr std::size_t kLongestMac = 17;

void drop_poor_client_table(Connection& db, int sn) {
  db.run(Step("drop_poor_client_table"), "DROP TABLE IF EXISTS `%s`.`AP_%03d`", AP_POOR_CLIENT, sn);
}

Question ask_known(Connection& db, int sn, const poor_client_record& client) {
  return db.ask_ahead(Step(kOperation), "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')",
                      AP_POOR_CLIENT, sn, sql_text(client.mac).c_str());
}

void store(Connection& db, int sn, const Rows& known, const poor_client_record& client) {
  if (!known) {
    return;
  }
  const unsigned long connected = client.connection_time;
  if (known.count() > 0) {
    db.run(Step(kOperation),
           "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `band`='%d', `ssid`='%u', `rssi`='%d', "
           "`status`='%d', `connection_time`=FROM_UNIXTIME('%lu'), `confirm`='1' WHERE "
           "`mac`=UPPER('%s')",
           AP_POOR_CLIENT, sn, client.band, client.ssid, client.rssi, client.status, connected,
           sql_text(client.mac).c_str());
  } else {
    db.run(Step(kOperation),
           "INSERT INTO `%s`.`AP_%03d` (`mac`, `band`, `ssid`, `rssi`, `status`, `utime`, "
           "`connection_time`) VALUES (UPPER('%s'), %d, %u, %d, %d, NOW(), FROM_UNIXTIME('%lu'))",
           AP_POOR_CLIENT, sn, sql_text(client.mac).c_str(), client.band, client.ssid, client.rssi,
           client.status, connected);
  }
}

/// Stores clients of which none comes twice; their look-ups go out together. The band's profile list
/// is read anew for each; what it was, `last_list`, tells whether their rows are worth asking for
/// already.
void store_together(Connection& db, const std::string& mac, int sn, Band band, int slot,
                    std::span<const poor_client_record> clients, std::string& last_list) {
  std::vector<Question> lists;
  std::vector<std::optional<Question>> known(clients.size());
  for (std::size_t i = 0; i < clients.size(); ++i) {
    lists.push_back(ask_ap_pf_id(db, mac, band));
    if (sn != 0 && profile_in_slot(last_list, slot) != 0) {
      known[i] = ask_known(db, sn, clients[i]);
    }
  }
  for (std::size_t i = 0; i < clients.size(); ++i) {
    last_list = ap_pf_id(lists[i]);
    poor_client_record client = clients[i];
    client.ssid = profile_in_slot(last_list, slot);
    if (sn != 0 && client.ssid != 0) {
      const Question asked = known[i] ? *known[i] : ask_known(db, sn, client);
      asked.trace();
      store(db, sn, asked.rows(), client);
    }
  }
}

/// Stores the clients of a band, once for each of its slots.
void store_band(Connection& db, const std::string& mac, int sn, Band band,
                std::span<const poor_client_record> clients) {
  std::string last_list;
  for (int slot = 1; slot <= kSlots; ++slot) {
    for (auto left = clients; !left.empty();) {
      const std::size_t together = count_together(left, &poor_client_record::mac);
      store_together(db, mac, sn, band, slot, left.first(together), last_list);
      left = left.subspan(together);
    }
  }
}

}  // namespace

Listing<poor_client_record> read_poor_clients(const Report& report, Band band) {
  Listing<poor_client_record> clients;
  read_list(clients, report, M("POOR_CLIENT %s", band_prefix(band, "5G ")), "ADDR", kNoLimit,
            [&](const std::string& section) {
              poor_client_record client;
              client.mac = value_or_marker(report, section, "ADDR", kLongestMac);
              client.band = band == Band::five_ghz ? 1 : 0;
              client.rssi = report.number(section, "RSSI");
              client.status = report.number(section, "STATUS");
              client.connection_time =
                  cut_to<std::uint32_t>(report.unsigned64_number(section, "CONNECTION_TIME"));
              return client;
            });
  return clients;
}

int update_ap_poor_client_db(const std::string& mac, const Report& report) {
  Connection db(mac);
  if (!db) {
    return db.result();
  }
  const int sn = get_reporting_ap_sn(db, mac, kOperation);
  if (sn != 0) {
    drop_poor_client_table(db, sn);
  }
  create_poor_client_table(db, sn);
  for (const Band band : kBands) {
    const Listing<poor_client_record> clients = read_poor_clients(report, band);
    trace_stranded(db, Step(kOperation), clients.stranded);
    store_band(db, mac, sn, band, clients.records);
  }
  return db.close();
}
