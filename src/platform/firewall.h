#pragma once

#include "platform/text.h"

/// Runs a firewall command and waits for it. `mode` is 4; the formatted text names the caller, then has
/// "=> " and the command line, which is split at its blanks and run without a shell, its output
/// discarded. While another firewall command is at work it is tried again, for up to 2 seconds per
/// process. Returns its exit status, or -1 when it could not be run, for another mode, or without "=> ".
int my_iptables(int mode, const char* format, ...) AP_PRINTF(2, 3);
