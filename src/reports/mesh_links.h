#pragma once

#include <string>

#include "db/ap.h"
#include "reports/numbered_sections.h"

/// A peer that the AP is linked to over the air.
struct mesh_peer {
  std::string mac;   // cut to 17 bytes
  std::string rssi;  // link level as reported, cut to 9 bytes; kMissingValue when absent
};

/// Reads the sections "01 client 5G MESH 02" (slot, band, number) in the order of the stations.
Listing<mesh_peer> read_mesh_peers(const Report& report);

/// The route from the AP to its gateway; all empty unless the report has the gateway and a hop.
struct mesh_route {
  std::string gateway;  // cut to 39 bytes
  std::string hop;      // comma list: first word of each hop, cut to 17 bytes
  std::string ttl;      // comma list: second word of each hop, cut to 9 bytes, empty when missing
};

/// Reads section "TRACEROUTE": "00" is the gateway, "01" and so on are the hops, up to the first
/// that is empty or absent. Only the first 127 bytes of each value are read.
mesh_route read_mesh_route(const Report& report);

/// Stores the mesh links of the report, without peers that have no level, in the AP's row, if there are
/// any. An AP whose name is not known gets no new row. A new row has the MACs of the peers in upper
/// case, an updated one as they were reported.
void update_ap_mesh_client_db(Ap& ap, const Report& report);
