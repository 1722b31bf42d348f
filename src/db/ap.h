#pragma once

#include <optional>
#include <string>

#include "db/schema.h"

/// The AP that an event is about, for as long as the process works on it: every operation gets it
/// from its caller, and with it the one database connection.
struct Ap {
  Ap(std::string mac_text, Event event) : mac(std::move(mac_text)), db(mac, event) {}

  /// Asks for the serial number: `sn` and the result are 0 for an AP that is not registered.
  int look_up();

  /// The same for the AP whose report is being stored: notes in the trace of `operation` that an AP
  /// that is not registered gets nothing stored.
  int look_up_reporting(const char* operation);

  /// Closes the connection and ends it at the server, too. For before a wait that may be long, so
  /// that the server keeps no connection for a process that only sleeps.
  void give_connection_back();

  const std::string mac;  // as the controller passed it
  Connection db;          // opened by the first operation that needs it
  int sn = 0;             // what `look_up` found last
};

/// Records that `action` has been ordered for the AP, and with it that the AP is not connected, has
/// no address, and which firmware image is pending (a path; none: none). Does nothing for an AP
/// that is not registered. `caller` is only for the trace.
void setAction(Ap& ap, ApAction action, const std::optional<std::string>& fw_upgrade,
               const char* caller);
