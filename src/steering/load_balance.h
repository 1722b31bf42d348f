#pragma once

#include <string>

#include "db/ap.h"
#include "steering/findings.h"

/// One load-balancing pass for an AP that has just reported. From its stations, those of the managed
/// APs that it hears, and who hears whom, it decides which stations the AP disconnects (idle ones) and
/// which it refuses (well received ones that another AP would serve; they are entered into the block
/// table), or that all its blocks are to go. Returns the "kick" and "block" lines of its command; none
/// when all blocks are to go, which `found.release_all` says, or without a database.
std::string ap_load_balance_rule(Ap& ap, Findings& found);
