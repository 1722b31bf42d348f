#pragma once

#include <string>

// The appliance's settings store. A value is read at the moment it is needed, so a change takes
// effect with the next event. A store that is there and cannot be read is reported (my_report_loss).

/// Why the store cannot be read, so that all is absent; empty when it can, or when there is none.
std::string my_settings_refusal();

/// Setting `number` as a decimal integer: leading blanks and a sign are allowed, reading stops at
/// the first other character. 0 when it is absent, has no digits or the store cannot be read.
int RI(int number);

/// Setting `number` as text; empty when it is absent or the store cannot be read.
std::string RS(int number);

/// The named integer `name`, such as "SYSTEM_PORT_NUM"; 0 when it is absent.
int RETURN_DEF_INT(const char* name);
