#pragma once

#include <string>
#include <vector>

enum class Unit { on_off, mode, port_number, priority, count, address, text };

/// A setting of platform.ini.
struct KnownSetting {
  const char* section;
  std::string key;
  const char* name;     // what the manual calls it; empty for a setting of this platform alone
  Unit unit;            // priority: facility * 8 + severity
  const char* initial;  // what holds when it is not set
  const char* meaning;
  const char* off;  // what it means when it is off; null: the same
};

/// Every setting: the program's numbered ones in their order, its named one, then those that only this
/// platform knows.
const std::vector<KnownSetting>& known_settings();

/// Whether settings of this unit are numbers.
bool is_number(Unit unit);

/// Whether `value`, as the file has it, is off: 0, no text, an address of zeros only.
bool is_off(Unit unit, const std::string& value);
