#pragma once

#include "platform/text.h"

/// Collects outstanding database answers, then runs a command line, formatted as printf does, through
/// /bin/sh and waits for it. The child gets /dev/null as its three standard descriptors, no other
/// descriptor, default signals and a session of its own, so that what it leaves in the background is
/// detached. Returns the exit status, or -1 when the command could not be run or died. A platform may
/// carry out a plain "> FILE", which makes an empty file, without a shell.
int my_system(const char* format, ...) AP_PRINTF(1, 2);
