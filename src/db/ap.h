#pragma once

#include <optional>
#include <string>

#include "db/schema.h"

/// The AP that an event is about, and its database connection. Every operation gets it from its caller.
struct Ap {
  Ap(std::string mac_text, Event event) : mac(std::move(mac_text)), db(mac, event) {}

  /// Asks for the serial number: `sn` and the result are 0 for an AP that is not registered.
  int look_up();

  /// The same for a section of a report: notes in the trace of `operation` that nothing is stored for an
  /// AP that is not registered.
  int look_up_reporting(const char* operation);

  /// Closes the connection and ends it at the server, too. For before a wait that may be long, so
  /// that the server keeps no connection for a process that only sleeps.
  void give_connection_back();

  const std::string mac;  // as the controller passed it
  Connection db;          // opened by the first operation that needs it
  int sn = 0;             // what `look_up` found last
};

/// Records that `action` has been ordered for the AP: it is not connected, has no address, and
/// `fw_upgrade` is the path of its pending firmware image, if any. Does nothing for an AP that is not
/// registered. `caller` is only for the trace.
void setAction(Ap& ap, ApAction action, const std::optional<std::string>& fw_upgrade,
               const char* caller);
