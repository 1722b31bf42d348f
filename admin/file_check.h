#pragma once

#include "finding.h"

// Checks of files: what the program needs, and what its files say about the controller.

/// Directories that are missing or cannot be written to.
Findings check_directories();

/// The program's own names, and helper programs that are missing or not executable.
Findings check_programs();

/// Locks of reports that have been processed for 600 seconds or more.
Findings check_locks();

/// Commands that have waited for the controller for more than 60 seconds.
Findings check_commands();

/// Switches that make files grow: traces, kept reports and capability files.
Findings check_switches();
