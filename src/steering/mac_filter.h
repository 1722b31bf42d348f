#pragma once

#include <string>
#include <string_view>
#include <vector>

// The wireless MAC filter, one list for the whole appliance. Every AP gets it with the answer to each
// of its reports.

/// What the filter file names.
struct MacFilter {
  std::vector<std::string> addresses;  // well-formed MACs in the order of the file, as written
  std::vector<std::string> refused;    // fields in the place of an address that are no MAC
};

/// Reads the text of a filter file: the second blank-separated field of each line is an address.
/// Lines with fewer fields count for nothing. A line is read in pieces of 254 characters, each as
/// if it were a line; carriage returns are blanks.
MacFilter read_mac_filter(std::string_view text);

/// The lines of an AP's command: the mode, and the addresses in groups of 16, numbered from 1.
std::string mac_filter_lines(int mode, const std::vector<std::string>& addresses);

/// Those lines from setting 135 and the filter file of the firewall's configuration. What is in the
/// file, or that it cannot be read, is traced under `key`, the AP's MAC. In mode 0 (off) and without the
/// file there is only the mode.
std::string ap_mac_filter_conf(const std::string& key);
