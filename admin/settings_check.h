#pragma once

#include <set>
#include <string>
#include <vector>

#include "finding.h"

// The settings of /etc/ap-run/platform.ini as the program reads them.

struct Setting {
  std::string section, key;
  bool set = false;     // whether the file has it; else `value` is the default
  std::string value;    // as the file has it, any bytes
  std::string meaning;  // what this value does, in plain words
};

/// Every setting of the program with its value now.
std::vector<Setting> effective_settings();

/// What is wrong with the file and its values.
Findings check_settings(const std::vector<Setting>& settings);

/// The helper programs that the appliance lacks by design, by their names without a folder.
std::set<std::string> declared_absent();

/// Whether mails are to be sent.
bool notices_are_mailed();
