#pragma once

#include <string>
#include <vector>

// The settings that the program asks the appliance for, by number (RI, RS) or by name
// (RETURN_DEF_INT). What each means is told by known_settings().

namespace setting {

inline constexpr int kDownloadPort = 1;
inline constexpr int kLogAddress = 30;
inline constexpr int kBridgedPort = 41;
inline constexpr int kLoadBalancing = 79;
inline constexpr int kAutoRf = 91;
inline constexpr int kNoticeMails = 92;
inline constexpr int kClientLog = 113;
inline constexpr int kLogPriority = 121;
inline constexpr int kClientLogPriority = 126;
inline constexpr int kMacFilter = 135;
inline constexpr const char* kSystemPorts = "SYSTEM_PORT_NUM";

/// The mode of the MAC filter in which the filter alone says who may be where.
inline constexpr int kMacFilterAlone = 1;

enum class Unit { on_off, mode, port_number, priority, count, address, text };

struct Info {
  std::string key;      // the number or the name
  const char* name;     // what the manual calls it
  Unit unit;            // priority: facility * 8 + severity
  const char* initial;  // what holds when it is not set
  const char* meaning;  // of a value that is not off
  const char* off;      // meaning of a value that is
};

/// Every setting that the program uses: the numbered ones in their order, then the named one.
const std::vector<Info>& known_settings();

/// Whether settings of this unit are numbers.
bool is_number(Unit unit);

/// Whether `value`, as the appliance stores it, is off: 0, no text, an address of zeros only.
bool is_off(Unit unit, const std::string& value);

}  // namespace setting
