#pragma once

#include "finding.h"

// Checks of files: what the program needs, and what its files say about the controller.

/// Directories that are missing or cannot be written to.
Findings check_directories();

/// Whether a command could be written now, tried with a file of another name, and how much room is
/// left for more.
Findings check_space();

/// The program's own names, and helper programs that are missing or not executable, unless the
/// settings say that there are none.
Findings check_programs();

/// The firewall's chains that let APs in. Checked only as root.
Findings check_firewall();

/// Locks of reports that have been processed for 600 seconds or more, and commands that have waited for
/// the controller for more than 60.
Findings check_waiting_files();

/// Switches that make files grow: traces, kept reports and capability files.
Findings check_switches();
