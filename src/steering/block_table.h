#pragma once

#include <optional>
#include <string>

#include "db/connection.h"
#include "values/client_record.h"

// The block table: which stations an AP has been told to refuse. A station stands in it at most
// once, whichever AP refuses it. MACs of stations are stored upper case and found in either case.

/// Number of stations in the client table of the AP `sn`; 0 when it has no table. Traced.
int get_ap_client_amount(Connection& db, int sn);

/// The same in two steps, for many at once: the question, asked ahead, and its answer.
[[nodiscard]] Question ask_ap_client_amount(Connection& db, int sn);
int get_ap_client_amount(Connection& db, const Question& asked);

/// Writes the whole block table, as `asked`, to the trace, in the name and with the line marker of
/// the caller. While tracing is off it is not asked for.
[[nodiscard]] std::optional<Question> ask_block_list(Connection& db);
void ap_block_count(Connection& db, const std::optional<Question>& asked, const char* caller,
                    int caller_line);

/// Whether the station is refused by any AP: the question, asked ahead, its answer, and the trace
/// of both.
[[nodiscard]] Question ask_block_exists(Connection& db, const std::string& client_mac);
bool ap_block_exists(const Question& asked);
void trace_block_exists(Connection& db, const Question& asked, const std::string& client_mac,
                        bool exists);

/// Has the AP `sn` refuse the station, unless it is refused already. Whether a row was added; the
/// outcome of the adding itself is not looked at.
bool ap_block_add(Connection& db, int sn, const client_record& client);

/// Whether the AP refuses at least one station of the SSID profile `ssid_sn`.
bool ap_release_rule(Connection& db, int ssid_sn, const std::string& ap_mac);

/// Whether the AP is told when all its blocks are lifted.
enum class Quiet { no, yes };

/// Lifts the block of `client_mac` at the AP; the AP is not told here. Nothing happens for an AP
/// that is not registered. `caller` is for the trace.
void ap_block_remove_client(const std::string& ap_mac, const std::string& client_mac,
                            const char* caller);

/// Lifts all blocks of the AP and, unless quiet, queues the command that tells it so, in a process
/// of its own that is waited for (15 seconds at most). Nothing happens for an AP that is not
/// registered. The MAC has to be well formed.
void ap_block_remove(const std::string& ap_mac, Quiet quiet, const char* caller);

/// Drops the AP's client table (that of AP 0 for an AP that is not registered).
void drop_ap_client_table(const std::string& ap_mac);
