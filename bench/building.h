#pragma once

#include <string>
#include <thread>

#include "kit/text.h"
#include "report_text.h"

// A building full of APs, as the program sees it: the settings and profiles that it finds, and the
// controller that brings reports and fetches commands.

/// Writes the settings (load balancing and auto-RF on) and the SQL that makes the SSID profiles of
/// the reports.
void write_settings();
inline constexpr const char* kProfiles =
    "REPLACE INTO `AP_INFO`.`ap_profile` (`SN`, `SSID`) VALUES (1, 'Office'), (2, 'Guest'), "
    "(3, 'Devices')";

/// Puts an AP's report where the controller puts it and takes the command that waits for the AP.
/// Returns the words that start the hook.
kit::Words deliver(int ap, const std::string& report);

/// Whether the report that was delivered last is still there: the hook has not worked on it.
bool left_alone(int ap);

/// Fetches the commands of all APs in the background, as the controller does, which looks for them
/// many times a second. It ends with the thread's object.
std::jthread start_controller();
