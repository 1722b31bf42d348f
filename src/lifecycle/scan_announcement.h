#pragma once

#include <string>

#include "platform/network_ports.h"

/// The device through which the announcement leaves port `port`: the port's own, or for the port
/// named `bridged` (empty for none) the bridge that it belongs to.
std::string scan_device(const PortRecord& port, const std::string& bridged);

/// Sends the scan announcement, one UDP datagram to 224.0.0.100 port 10235, through every system
/// port that has a record, so that APs that have lost their controller find it. Where a device
/// cannot be bound, the datagram leaves through the one before it.
void scan_announce();
