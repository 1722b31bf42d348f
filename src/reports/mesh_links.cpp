#include "reports/mesh_links.h"

#include "db/registry.h"
#include "db/schema.h"
#include "values/split.h"

namespace {

constexpr const char* kOperation = "update_ap_mesh_client_db";

/// Appends an item to a comma list; none is a list without items.
void append(std::optional<std::string>& list, std::string_view item) {
  if (list) {
    list->append(1, ',').append(item);
  } else {
    list = item;
  }
}

}  // namespace

Listing<mesh_peer> read_mesh_peers(const Report& report) {
  Listing<mesh_peer> peers;
  for (const Band band : kBands) {
    for (int slot = 1; slot <= kSlots; ++slot) {
      read_list(peers, report, M("%02d client %sMESH ", slot, band_prefix(band, "5G ")), "ADDR",
                [&](const ReportSection& section) {
                  return mesh_peer{section.text("ADDR", 17, kMissingValue),
                                   section.text("RSSI", 9, kMissingValue)};
                });
    }
  }
  return peers;
}

mesh_route read_mesh_route(const Report& report) {
  const auto step = [&](int number) {
    return report.text("TRACEROUTE", M("%02d", number)).value_or("").substr(0, 127);
  };
  const std::string_view gateway = step(0);
  std::optional<std::string> hops;
  std::optional<std::string> ttls;
  for (int number = 1; !gateway.empty() && !step(number).empty(); ++number) {
    append(hops, first_word(step(number), 17));
    append(ttls, second_word(step(number), 9));
  }
  return hops ? mesh_route{std::string(gateway.substr(0, 39)), *hops, *ttls} : mesh_route{};
}

void update_ap_mesh_client_db(Ap& ap, const Report& report) {
  const Listing<mesh_peer> peers = read_mesh_peers(report);
  trace_unread(ap.db, Step(kOperation), peers);
  std::optional<std::string> macs;
  std::optional<std::string> levels;
  for (const mesh_peer& peer : peers.records) {
    if (peer.rssi != kMissingValue) {
      append(macs, peer.mac);
      append(levels, peer.rssi);
    }
  }
  if (!macs) {
    return;
  }
  const mesh_route route = read_mesh_route(report);
  const Rows known = ap.db.ask(
      Step(kOperation), "SELECT * FROM `%s`.`client` WHERE `mac`=UPPER('%s')", AP_CLIENT, ap.mac);
  if (!known) {
    return;
  }
  if (known.count() > 0) {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`client` SET `cmac`='%s', `rssi`='%s', `gateway`='%s', `ttl`='%s', "
              "`hop`='%s' WHERE `mac`=UPPER('%s')",
              AP_CLIENT, *macs, *levels, route.gateway, route.ttl, route.hop, ap.mac);
  } else if (const std::optional<std::string> name = get_ap_name_by_mac(ap.db, ap.mac)) {
    ap.db.run(Step(kOperation),
              "INSERT INTO `%s`.`client` (`mac`, `name`, `cmac`, `rssi`, `gateway`, `ttl`, `hop`) "
              "VALUES (UPPER('%s'), '%s', UPPER('%s'), '%s', '%s', '%s', '%s')",
              AP_CLIENT, ap.mac, *name, *macs, *levels, route.gateway, route.ttl, route.hop);
  }
}
