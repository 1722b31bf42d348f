#pragma once

#include <string_view>

// The settings that the program asks the appliance for, by number (RI, RS) or by name
// (RETURN_DEF_INT). Names, units, defaults and meanings are in admin/known_settings.cpp.

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

/// The mode of the MAC filter in which only the filter decides which AP a station may use.
inline constexpr int kMacFilterAlone = 1;

/// Whether an address, as the appliance stores it, is unset: all zeros.
inline bool is_unset_address(std::string_view address) {
  return address == "0.0.0.0" || address == "0000:0000:0000:0000:0000:0000:0000:0000";
}

}  // namespace setting
