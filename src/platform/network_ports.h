#pragma once

#include <optional>
#include <string>
#include <string_view>

/// One system port of the appliance.
struct PortRecord {
  std::string name;  // the device, such as "eth0"
  int bridge = 0;    // number of the bridge it belongs to
  int mode = 0;      // the port's mode, as the appliance numbers them
};

/// The record of system port `port`, counted from 1; none when the port has no record.
std::optional<PortRecord> interface_read_shm(int port);

/// The body of a scan announcement for `text`, in the appliance's own form: printable, without blanks;
/// none when it cannot be made. The plain Debian platform enciphers nothing: its body has the text's
/// bytes as hexadecimal digits ("scan" gives "7363616e").
std::optional<std::string> my_cgi_encrypt_BigEndian(std::string_view text);
