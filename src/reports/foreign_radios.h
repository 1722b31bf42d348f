#pragma once

#include <string>
#include <string_view>

#include "db/connection.h"

/// A list of hearing APs ("3,7,12") without the AP `sn`: what is left of it, possibly nothing.
std::string without_hearer(std::string_view list, int sn);

/// Withdraws the AP `sn` from the foreign radios of `illegal`: those that it alone has heard lose
/// their row, and it goes out of the lists of the others. Does nothing for 0.
///
/// APs may change the same lists at the same time. A list is written back only while it is the one
/// that was read. Where it was not, or the server has given a statement up in favour of another AP's
/// (a deadlock), the withdrawal is repeated for what is left, now with lists that the server
/// computes; at most 10 times.
void delete_ap_illegal_table(Connection& db, int sn);
