#include "steering/mac_filter.h"

#include <algorithm>
#include <optional>

#include "ini/ini_file.h"
#include "platform/settings.h"
#include "trace/trace_log.h"
#include "values/mac_address.h"
#include "values/paths.h"
#include "values/settings.h"
#include "values/split.h"

namespace {

constexpr const char* kOperation = "ap_mac_filter_conf";
constexpr std::size_t kLongestPiece = 254;
constexpr std::size_t kGroup = 16;
constexpr std::size_t kNoLimit = std::string::npos - 1;  // of the file's size

/// Cuts the next piece off `text`, its line end included.
std::string_view take_piece(std::string_view& text) {
  const std::string_view piece =
      text.substr(0, std::min(text.substr(0, kLongestPiece).find('\n'), kLongestPiece - 1) + 1);
  text.remove_prefix(piece.size());
  return piece;
}

/// The addresses that the file names; none when it cannot be read.
std::vector<std::string> filtered_addresses(const std::string& key) {
  const std::optional<std::string> text =
      read_regular_file(paths::kMacFilterList, kNoLimit, Links::follow);
  if (!text) {
    ap_debug_log({kOperation, key}, "%s cannot be read", paths::kMacFilterList);
    return {};
  }
  MacFilter filter = read_mac_filter(*text);
  for (const std::string& field : filter.refused) {
    ap_debug_log({kOperation, key}, "not an address: %s", field.c_str());
  }
  ap_debug_log({kOperation, key}, "%s names %zu addresses", paths::kMacFilterList,
               filter.addresses.size());
  return std::move(filter.addresses);
}

}  // namespace

MacFilter read_mac_filter(std::string_view text) {
  MacFilter filter;
  while (!text.empty()) {
    const std::string_view field = second_word(take_piece(text), kLongestPiece);
    if (!field.empty()) {
      (is_mac(field) ? filter.addresses : filter.refused).emplace_back(field);
    }
  }
  return filter;
}

std::string mac_filter_lines(int mode, const std::vector<std::string>& addresses) {
  std::string lines = M("macFilterControl=%d\n", mode);
  for (std::size_t first = 0; first < addresses.size(); first += kGroup) {
    std::string group;
    for (std::size_t i = first; i < std::min(first + kGroup, addresses.size()); ++i) {
      group += (i == first ? "" : ",") + addresses[i];
    }
    lines = my_string(std::move(lines), "macFilterAddr%d=%s\n",
                      static_cast<int>(first / kGroup) + 1, group.c_str());
  }
  return lines;
}

std::string ap_mac_filter_conf(const std::string& key) {
  const int mode = RI(setting::kMacFilter);
  return mac_filter_lines(mode, mode == 0 ? std::vector<std::string>{} : filtered_addresses(key));
}
