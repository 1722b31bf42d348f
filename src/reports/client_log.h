#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "db/connection.h"
#include "values/client_record.h"

/// The client connection log: a line in the system log for a station of an AP, with the names of
/// station, AP and SSID. So that a list of stations does not wait for each line's names, lines are
/// written with finish(), in the order of the stations.
class ClientLog {
 public:
  /// Uses the connection, on which all look-ups are made, for as long as it lives.
  ClientLog(Connection& db, std::string ap_mac) : db_(&db), ap_mac_(std::move(ap_mac)) {}

  /// Logs a station that has been connected since `connected_time`: asks for the names. No line is
  /// written when the station's SSID profile or the AP is not found. A station that has no name is
  /// logged under its MAC. Names are cut to 255 bytes, the line to 1023; none of them is escaped.
  void ap_client_connection_log(const client_record& client, std::string connected_time);

  /// Writes the lines that are still to come.
  void finish();

 private:
  struct Pending {
    client_record client;
    std::string connected_time;
    std::optional<std::string> ssid;  // none: still to be taken
    Question ssid_row;
    Question ap_name;
    Question client_name;
  };

  static void write(const Pending& line);

  Connection* db_;
  std::string ap_mac_;
  std::vector<Pending> pending_;
  // Profiles that an earlier look-up of this log has found. The names are asked for only when the
  // profile is there; for these that is known without waiting for it.
  std::set<std::uint32_t> found_profiles_;
};
