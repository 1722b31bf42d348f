#pragma once

#include "platform/text.h"

/// Runs a firewall command. `mode` is 4; the formatted text holds "=> " with the command line
/// after it, and says before it who calls. The command line is split at its blanks and run without
/// a shell, its output discarded; it is waited for, and tried again while another firewall
/// command is at work, for up to 2 seconds in all that the process does. Returns its exit status, or
/// -1 when it could not be run, the mode is another or the text holds no "=> ".
int my_iptables(int mode, const char* format, ...) AP_PRINTF(2, 3);
