#pragma once

#include <span>
#include <string>
#include <string_view>

#include "db/connection.h"
#include "values/cell_record.h"

// The radios that no managed AP has reported as its own: one row of `illegal` each, with the values
// of the AP that heard it last and the list of all APs that hear it ("3,7,12"). All APs share these
// rows and change them at the same time, each by short statements, so that no row is locked for as
// long as a scan takes; where the server can tell them to, they take turns. What the server undoes in
// favour of another AP's statement (a deadlock) is done again, at most 10 times.

/// A list of hearing APs without the AP `sn`: what is left of it, possibly nothing.
std::string without_hearer(std::string_view list, int sn);

/// Withdraws the AP `sn`: radios that it alone has heard lose their row, and it goes out of the lists
/// of the others. The server computes these. While the trace is on, which shows each list that is
/// written, they are computed here, and written only while the list is the one that was read; where
/// it was not, the withdrawal is repeated by the server.
void delete_ap_illegal_table(Connection& db, int sn);

/// Stores the cells as foreign radios that the AP `sn` hears: it is added to their lists, once. Of a
/// radio listed twice, the later values stay.
void store_foreign_radios(Connection& db, int sn, std::span<const cell_record* const> cells);
