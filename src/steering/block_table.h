#pragma once

#include <string>

#include "db/ap.h"
#include "values/client_record.h"

// The block table: the stations that APs have been told to refuse. A station is in it at most once,
// whichever AP refuses it. MACs of stations are stored in upper case and found in either case.

/// Whether any AP refuses the station. Traced.
bool ap_block_exists(Connection& db, const std::string& client_mac);

/// Its query, to be fetched ahead.
Query block_exists_query(const std::string& client_mac);

/// Has the AP `sn` refuse the station, unless it is refused already. Returns whether the row was sent;
/// nobody waits for its outcome.
bool ap_block_add(Connection& db, int sn, const client_record& client);

/// Its query, to be fetched ahead.
Query block_add_query(const std::string& client_mac);

/// Whether the AP is told when all its blocks are lifted.
enum class Quiet { no, yes };

/// Deletes the block of `client_mac` at the AP, without a command to the AP. Does nothing for an AP
/// that is not registered. `caller` is for the trace.
void ap_block_remove_client(Ap& ap, const std::string& client_mac, const char* caller);

/// Lifts all blocks of the AP and, unless quiet, queues the command that tells it so, in a child
/// process, and waits for that (15 seconds at most). Does nothing for an AP that is not registered. The
/// AP's MAC has to be well formed.
void ap_block_remove(Ap& ap, Quiet quiet, const char* caller);
