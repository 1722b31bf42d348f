#pragma once

#include <stop_token>
#include <string>

#include "kit/text.h"
#include "report_text.h"
#include "server.h"

// A building full of APs, as the program sees it: the settings and profiles that it finds, and the
// controller that brings reports and fetches commands.

/// The AP whose hooks are measured.
constexpr int kAp = 1;

/// Empties the tables, has the SSIDs of the reports as profiles, and load balancing and auto-RF on.
void move_out(Server& server);

/// Puts an AP's report where the controller puts it and takes the command that waits for the AP.
/// Returns the words that start the hook.
kit::Words deliver(int ap, const std::string& report);

/// Whether the report that was delivered last is still there: the hook has not processed it.
bool left_alone(int ap);

/// The command that waits for the AP; empty when there is none.
std::string command_of(int ap);

/// Takes that command away.
void fetch_command(int ap);

/// Until it is stopped, fetches the commands of all APs as the controller does, which looks for them
/// many times a second.
void fetch_all_commands(const std::stop_token& stop);
