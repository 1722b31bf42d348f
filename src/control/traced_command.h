#pragma once

#include "platform/text.h"
#include "trace/trace_log.h"

/// Traces a command line, formatted as printf does, and runs it (my_system). Returns its exit
/// status, or -1 when it could not be run.
int traced_command(const TraceSite& site, const char* format, ...) AP_PRINTF(2, 3);
