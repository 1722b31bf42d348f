#pragma once

#include <limits>
#include <string>
#include <vector>

#include "db/connection.h"
#include "platform/text.h"
#include "reports/report.h"
#include "values/channel_table.h"

// Lists in a report: sections of one name that are numbered from 01, with at least two digits. The
// first number whose section lacks the list's leading key ends the list.

/// The records of one or several lists.
template <typename Record>
struct Listing {
  /// How many records are read, over all lists: far more than the largest AP has (512 stations, 2,000
  /// cells).
  std::size_t most = 8'192;
  int longest = std::numeric_limits<int>::max();  // numbers up to this are read of each list
  std::vector<Record> records{};
  std::vector<std::string> unread{};  // a trace line for each list that has more sections
};

/// Appends to `listing` the records of the list whose sections are named `prefix` and a number. `read`
/// makes a record of a ReportSection.
template <typename Record, typename Reader>
void read_list(Listing<Record>& listing, const Report& report, const std::string& prefix,
               const char* leading_key, Reader read) {
  const auto name = [&](int number) { return M("%s%02d", prefix.c_str(), number); };
  const auto exists = [&](int number) {
    return number <= listing.longest && report.text(name(number), leading_key).has_value();
  };
  int number = 1;
  for (; exists(number); ++number) {
    if (listing.records.size() == listing.most) {
      listing.unread.push_back(M("[%s] is beyond the %zu that are read: the list ends before it",
                                 name(number).c_str(), listing.most));
      return;
    }
    listing.records.push_back(read(ReportSection{report, name(number)}));
  }
  if (exists(number + 1)) {
    listing.unread.push_back(M("[%s] follows a gap in the numbering: the list ends before the gap",
                               name(number + 1).c_str()));
  }
}

/// Traces which lists have sections that were not read.
template <typename Record>
void trace_unread(const Connection& db, const Step& step, const Listing<Record>& listing) {
  for (const std::string& line : listing.unread) {
    db.note(step, "%s", line.c_str());
  }
}

/// The SSID slots of a radio are numbered from 1 to this.
inline constexpr int kSlots = 8;

/// The bands in the order in which reports are processed.
inline constexpr Band kBands[] = {Band::two_four_ghz, Band::five_ghz};

/// What section names contain for the band: nothing for 2.4 GHz, else `five_ghz`.
inline const char* band_prefix(Band band, const char* five_ghz) {
  return band == Band::five_ghz ? five_ghz : "";
}
