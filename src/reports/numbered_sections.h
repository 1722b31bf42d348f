#pragma once

#include <string>
#include <vector>

#include "db/connection.h"
#include "platform/text.h"
#include "reports/report.h"
#include "values/channel_table.h"

// Lists in a report: sections of one name that are numbered from 01, with at least two digits. The
// first number whose section lacks the list's leading key ends the list.

/// What was read of one or several lists.
template <typename Record>
struct Listing {
  std::vector<Record> records;
  std::vector<std::string> stranded;  // sections right behind a gap in the numbering: not read
};

inline constexpr int kNoLimit = 0;

/// Reads the list whose sections are named `prefix` and a number, at most `most` of them, with
/// `read`, which makes a record of a section's name, and puts the records behind those in `listing`.
template <typename Record, typename Reader>
void read_list(Listing<Record>& listing, const Report& report, const std::string& prefix,
               const char* leading_key, int most, Reader read) {
  const auto section = [&](int number) { return M("%s%02d", prefix.c_str(), number); };
  const auto is_there = [&](int number) {
    return (most == kNoLimit || number <= most) &&
           report.text(section(number), leading_key).has_value();
  };
  int number = 1;
  for (; is_there(number); ++number) {
    listing.records.push_back(read(section(number)));
  }
  if (is_there(number + 1)) {
    listing.stranded.push_back(section(number + 1));
  }
}

/// Writes a trace line for each section that was not read.
void trace_stranded(const Connection& db, const Step& step,
                    const std::vector<std::string>& stranded);

/// The SSID slots of a radio are numbered from 1 to this.
inline constexpr int kSlots = 8;

/// The bands in the order in which reports are worked off.
inline constexpr Band kBands[] = {Band::two_four_ghz, Band::five_ghz};

/// What stands for the band in the names of sections: nothing for 2.4 GHz, else `five_ghz`.
const char* band_prefix(Band band, const char* five_ghz);

/// A value of a record: cut to `longest` bytes, or kMissingValue when it is absent.
std::string value_or_marker(const Report& report, const std::string& section, const char* key,
                            std::size_t longest);

/// A level such as "-45 dBm": its first word, at most 9 bytes of it; "0" when it is absent.
std::string level_value(const Report& report, const std::string& section, const char* key);
