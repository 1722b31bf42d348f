#include "values/settings.h"

#include "values/decimal.h"

namespace setting {

const std::vector<Info>& known_settings() {
  static const std::vector<Info> settings{
      {std::to_string(kDownloadPort), "Download port", Unit::port_number, "0",
       "port on which APs download firmware from here",
       "port on which APs download firmware from here"},
      {std::to_string(kLogAddress), "Log address", Unit::address, "",
       "does not keep stations out of the client connection log (see 113)",
       "no address: stations stay out of the client connection log"},
      {std::to_string(kBridgedPort), "Bridged port", Unit::text, "",
       "the port of this name is announced on through its bridge",
       "no port is announced on through a bridge"},
      {std::to_string(kLoadBalancing), "Load balancing", Unit::on_off, "0",
       "load balancing is on: crowded APs send stations away",
       "load balancing is off: no station is sent away or refused"},
      {std::to_string(kAutoRf), "Auto-RF", Unit::on_off, "0", "auto-RF is on: APs step their power",
       "auto-RF is off: APs keep their power"},
      {std::to_string(kNoticeMails), "Notice mails", Unit::on_off, "0",
       "a mail is sent when an AP joins or leaves", "no mails are sent"},
      {std::to_string(kClientLog), "Client connection log", Unit::on_off, "0",
       "stations are written to the client connection log", "no client connection log is written"},
      {std::to_string(kLogPriority), "Connection log priority", Unit::priority, "0",
       "priority number of connection-log messages", "priority number of connection-log messages"},
      {std::to_string(kClientLogPriority), "Client log priority", Unit::priority, "0",
       "priority number of client connection-log lines",
       "priority number of client connection-log lines"},
      {std::to_string(kMacFilter), "MAC filter", Unit::mode, "0",
       "sent to the APs; lifts the blocks of an AP that reports", "MAC filter is off"},
      {kSystemPorts, "System ports", Unit::count, "0",
       "system ports that a leaving AP is announced on, from [port 1]",
       "a leaving AP is announced on no port"}};
  return settings;
}

bool is_number(Unit unit) {
  return unit != Unit::address && unit != Unit::text;
}

bool is_off(Unit unit, const std::string& value) {
  if (unit == Unit::address) {
    return value == "0.0.0.0" || value == "0000:0000:0000:0000:0000:0000:0000:0000";
  }
  return is_number(unit) ? decimal_int(value) == 0 : value.empty();
}

}  // namespace setting
