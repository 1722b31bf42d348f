#include "known_settings.h"

#include "values/decimal.h"
#include "values/settings.h"

const std::vector<KnownSetting>& known_settings() {
  const auto numbered = [](int number, const char* name, Unit unit, const char* meaning,
                           const char* off) {
    const char* const initial = is_number(unit) ? "0" : "";
    return KnownSetting{"settings", std::to_string(number), name, unit, initial, meaning, off};
  };
  const auto text = [](const char* section, const char* key, const char* initial,
                       const char* meaning) {
    return KnownSetting{section, key, "", Unit::text, initial, meaning, nullptr};
  };
  static const std::vector<KnownSetting> settings{
      numbered(setting::kDownloadPort, "Download port", Unit::port_number,
               "port on which APs download firmware from here", nullptr),
      numbered(setting::kLogAddress, "Log address", Unit::address,
               "does not keep stations out of the client connection log (see 113)",
               "no address: stations stay out of the client connection log"),
      numbered(setting::kBridgedPort, "Bridged port", Unit::text,
               "the port of this name is announced on through its bridge",
               "no port is announced on through a bridge"),
      numbered(setting::kLoadBalancing, "Load balancing", Unit::on_off,
               "load balancing is on: crowded APs send stations away",
               "load balancing is off: no station is sent away or refused"),
      numbered(setting::kAutoRf, "Auto-RF", Unit::on_off, "auto-RF is on: APs step their power",
               "auto-RF is off: APs keep their power"),
      numbered(setting::kNoticeMails, "Notice mails", Unit::on_off,
               "a mail is sent when an AP joins or leaves", "no mails are sent"),
      numbered(setting::kClientLog, "Client connection log", Unit::on_off,
               "stations are written to the client connection log",
               "no client connection log is written"),
      numbered(setting::kLogPriority, "Connection log priority", Unit::priority,
               "priority number of connection-log messages", nullptr),
      numbered(setting::kClientLogPriority, "Client log priority", Unit::priority,
               "priority number of client connection-log lines", nullptr),
      numbered(setting::kMacFilter, "MAC filter", Unit::mode,
               "sent to the APs; lifts the blocks of an AP that reports", "MAC filter is off"),
      {"named", setting::kSystemPorts, "System ports", Unit::count, "0",
       "system ports that a leaving AP is announced on, from [port 1]",
       "a leaving AP is announced on no port"},
      text("controller", "default_profile_sn", "1", "SSID profiles of a new AP"),
      text("controller", "default_ap_wired", "1", "wired setting of a new AP"),
      text("check", "absent", "", "helper programs that this appliance lacks by design"),
      text("mail", "field1", "", "sender of notice mails"),
      text("mail", "field3", "", "first recipient of notice mails"),
      text("mail", "field4", "", "second recipient of notice mails")};
  return settings;
}

bool is_number(Unit unit) {
  return unit != Unit::address && unit != Unit::text;
}

bool is_off(Unit unit, const std::string& value) {
  if (unit == Unit::address) {
    return setting::is_unset_address(value);
  }
  return is_number(unit) ? decimal_int(value) == 0 : value.empty();
}
