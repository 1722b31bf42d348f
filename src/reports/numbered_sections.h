#pragma once

#include <limits>
#include <string>
#include <vector>

#include "db/connection.h"
#include "platform/text.h"
#include "reports/report.h"
#include "values/channel_table.h"
#include "values/split.h"

// Lists in a report: sections of one name that are numbered from 01, with at least two digits. The
// first number whose section lacks the list's leading key ends the list.

/// How many records are read of one kind, over all its lists: far above the largest AP (512 stations,
/// 2,000 cells). The rest is not read, which is traced.
inline constexpr std::size_t kMostRecords = 8'192;

/// What was read of one or several lists.
template <typename Record>
struct Listing {
  std::size_t most = kMostRecords;                // that are read
  int longest = std::numeric_limits<int>::max();  // numbers up to this are read of each list
  std::vector<Record> records;
  std::vector<std::string> stranded;  // sections right after a gap in the numbering: not read
  std::vector<std::string> surplus;   // sections from which on a list is too long: not read
};

/// Reads the list whose sections are named `prefix` and a number with `read`, which makes a record of a
/// section's name, and appends the records to those in `listing`.
template <typename Record, typename Reader>
void read_list(Listing<Record>& listing, const Report& report, const std::string& prefix,
               const char* leading_key, Reader read) {
  const auto section = [&](int number) { return M("%s%02d", prefix.c_str(), number); };
  const auto is_there = [&](int number) {
    return number <= listing.longest && report.text(section(number), leading_key).has_value();
  };
  int number = 1;
  for (; is_there(number); ++number) {
    if (listing.records.size() == listing.most) {
      listing.surplus.push_back(section(number));
      return;
    }
    listing.records.push_back(read(section(number)));
  }
  if (is_there(number + 1)) {
    listing.stranded.push_back(section(number + 1));
  }
}

/// Writes a trace line for each section with which a list ended that has more.
template <typename Record>
void trace_unread(const Connection& db, const Step& step, const Listing<Record>& listing) {
  for (const std::string& section : listing.stranded) {
    db.note(step, "[%s] stands behind a gap in the numbering: the list ends before it",
            section.c_str());
  }
  for (const std::string& section : listing.surplus) {
    db.note(step, "[%s] is beyond the %zu that are read: the list ends before it", section.c_str(),
            listing.most);
  }
}

/// The SSID slots of a radio are numbered from 1 to this.
inline constexpr int kSlots = 8;

/// The bands in the order in which reports are processed.
inline constexpr Band kBands[] = {Band::two_four_ghz, Band::five_ghz};

/// What the names of sections have for the band: nothing for 2.4 GHz, else `five_ghz`.
inline const char* band_prefix(Band band, const char* five_ghz) {
  return band == Band::five_ghz ? five_ghz : "";
}

/// A value of a record: cut to `longest` bytes, or kMissingValue when it is absent.
inline std::string value_or_marker(const Report& report, const std::string& section,
                                   const char* key, std::size_t longest) {
  return std::string(report.text(section, key).value_or(kMissingValue).substr(0, longest));
}

/// A level such as "-45 dBm": its first word, at most 9 bytes of it; "0" when it is absent.
inline std::string level_value(const Report& report, const std::string& section, const char* key) {
  return std::string(first_word(report.text(section, key).value_or("0"), 9));
}
