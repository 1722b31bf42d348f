#pragma once

#include <string>

#include "db/ap.h"
#include "values/client_record.h"

// The block table: which stations an AP has been told to refuse. A station is in it at most
// once, whichever AP refuses it. MACs of stations are stored upper case and found in either case.

/// Number of stations in the client table of the AP `sn`; 0 when it has no table. Traced.
int get_ap_client_amount(Connection& db, int sn);

/// Its query, to be fetched ahead.
Query client_amount_query(int sn);

/// Writes the whole block table to the trace, in the name and with the line marker of the caller.
/// While tracing is off it is not read.
void ap_block_count(Connection& db, const char* caller, int caller_line);

/// Whether any AP refuses the station. Traced.
bool ap_block_exists(Connection& db, const std::string& client_mac);

/// Its query, to be fetched ahead.
Query block_exists_query(const std::string& client_mac);

/// Has the AP `sn` refuse the station, unless it is refused already. Whether a row was added; the
/// outcome of the adding itself is not looked at.
bool ap_block_add(Connection& db, int sn, const client_record& client);

/// Its query, to be fetched ahead.
Query block_add_query(const std::string& client_mac);

/// Whether the AP refuses at least one station of the SSID profile `ssid_sn`.
bool ap_release_rule(Ap& ap, int ssid_sn);

/// Whether the AP is told when all its blocks are lifted.
enum class Quiet { no, yes };

/// Lifts the block of `client_mac` at the AP; the AP is not told here. Nothing happens for an AP
/// that is not registered. `caller` is for the trace.
void ap_block_remove_client(Ap& ap, const std::string& client_mac, const char* caller);

/// Lifts all blocks of the AP and, unless quiet, queues the command that tells it so, in a process
/// of its own that is waited for (15 seconds at most). Nothing happens for an AP that is not
/// registered. The AP's MAC has to be well formed.
void ap_block_remove(Ap& ap, Quiet quiet, const char* caller);

/// Drops the AP's client table (that of AP 0 for an AP that is not registered).
void drop_ap_client_table(Ap& ap);
