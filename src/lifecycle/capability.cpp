#include "lifecycle/capability.h"

#include <unistd.h>

#include <optional>
#include <vector>

#include "control/shell_command.h"
#include "control/support_marker.h"
#include "platform/files.h"
#include "platform/text.h"
#include "values/channel_table.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "values/split.h"

namespace {

constexpr const char* kSystem = "SYSTEM";
constexpr const char* kTwoFourGhz = "2.4G";
constexpr const char* kFiveGhz = "5G";

constexpr std::size_t kLongestValue = 1023;
constexpr std::size_t kMostEntries = 60;
constexpr std::size_t kMostDigits = 18;  // of a number that stands in a statement without quotes
constexpr int kSubBands = 4;

/// The list of an AP that cannot raise its power.
constexpr std::string_view kNoHighPower = "0,0,0,0,0,0";
/// What the registry has for "cannot".
constexpr int kUnable = -1;

using Value = std::optional<std::string_view>;

Value value_of(const Report& report, const char* section, const std::string& key) {
  const Value value = report.text(section, key);
  return value ? Value(value->substr(0, kLongestValue)) : std::nullopt;
}

void append(Statement& assignments, const Statement& assignment) {
  assignments.text += assignment.text;
  assignments.sound = assignments.sound && assignment.sound;
}

void assign(Statement& assignments, const Statement& column, std::string_view text) {
  append(assignments, statement(", `%s`='%s'", column, text));
}

void assign(Statement& assignments, const Statement& column, int number) {
  append(assignments, statement(", `%s`='%d'", column, number));
}

void assign_present(Statement& assignments, const Statement& column, const Value& text) {
  if (text) {
    assign(assignments, column, *text);
  }
}

void assign_modes(Statement& assignments, const Statement& column, const Value& text) {
  if (text) {
    assign(assignments, column, wireless_mode_mask_list(*text));
  }
}

void assign_channel(Statement& assignments, const Statement& column, const Value& number) {
  assign_present(assignments, column, number ? channel_label(decimal(*number)) : std::nullopt);
}

bool is_decimal_number(std::string_view text) {
  text.remove_prefix(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
  return !text.empty() && text.size() <= kMostDigits &&
         text.find_first_not_of("0123456789") == std::string_view::npos;
}

void add_system(Capability& capability, const Report& report) {
  assign_present(capability.initial, statement("fw_version"), value_of(report, kSystem, "version"));
  if (const Value poe = value_of(report, kSystem, "poe_passthru")) {
    assign(capability.initial, statement("poe"), decimal(*poe) == 0 ? kUnable : 0);
  }
  const std::string ports(value_of(report, kSystem, "ethernet_num").value_or("0"));
  append(capability.refresh,
         statement(", `wired_max`=%s",
                   SqlNumber{is_decimal_number(ports) ? std::string_view(ports) : "0"}));
}

void add_two_four_ghz(Capability& capability, const Report& report) {
  const auto value = [&](const char* key) { return value_of(report, kTwoFourGhz, key); };
  assign_present(capability.refresh, statement("ssid_max"), value("ssid_max"));
  assign_modes(capability.refresh, statement("wireless_mode_list"), value("mode"));
  const Value high_power = value("hi_txpower");
  assign_present(capability.refresh, statement("high_txpower_list"), high_power);
  if (high_power == kNoHighPower) {
    assign(capability.initial, statement("high_power"), kUnable);
  }
  assign_present(capability.refresh, statement("txpower_list"), value("txpower"));
  const ChannelList channels =
      channel_list_parse(value("channel").value_or(""), ChannelListHead::none);
  if (!channels.labels.empty()) {
    assign(capability.refresh, statement("channel_list"), channels.labels);
  }
  assign_present(capability.refresh, statement("channel_ext_list"), value("extension"));
  assign_channel(capability.initial, statement("channel"), value("defult_channel"));
}

void add_five_ghz(Capability& capability, const Report& report) {
  const auto value = [&](const std::string& key) { return value_of(report, kFiveGhz, key); };
  assign_present(capability.refresh, statement("5G_ssid_max"), value("ssid_max"));
  assign_modes(capability.refresh, statement("5G_wireless_mode_list"), value("mode"));
  bool unable = false;
  for (int i = 1; i <= kSubBands; ++i) {
    const Value high_power = value(M("hi_txpower%d", i));
    assign_present(capability.refresh, statement("5G_high_txpower_list_%d", i), high_power);
    assign_present(capability.refresh, statement("5G_txpower_list_%d", i),
                   value(M("txpower%d", i)));
    unable = unable || high_power == kNoHighPower;
  }
  if (unable) {
    assign(capability.initial, statement("5G_high_power"), kUnable);
  }
  for (int i = 1; i <= kSubBands; ++i) {
    const ChannelList channels =
        channel_list_parse(value(M("channel%d", i)).value_or(""), ChannelListHead::power_and_band);
    if (!channels.labels.empty()) {
      assign(capability.refresh, statement("5G_channel_list_%d_toTxpower", i), channels.to_txpower);
      assign(capability.refresh, statement("5G_channel_list_%d_band", i), channels.band);
      assign(capability.refresh, statement("5G_channel_list_%d", i), channels.labels);
    }
  }
  assign_present(capability.refresh, statement("5G_channel_ext_list"), value("extension"));
  assign_channel(capability.initial, statement("5G_channel"), value("defult_channel"));
}

void add_operation(Capability& capability, const Report& report) {
  if (const Value mode = value_of(report, "OPERATION", "mode")) {
    append(capability.refresh,
           statement(", `op_mode`=%d", my_tolower(std::string(*mode)) == "mesh" ? 1 : 0));
  }
}

/// The entries of a channel value.
std::vector<std::string_view> channel_entries(std::string_view text) {
  static constexpr std::string_view kSeparator = ",,";
  text = text.substr(0, text.rfind(','));
  const std::size_t first = text.find(',');
  if (first == std::string_view::npos) {
    return {};
  }
  text.remove_prefix(first + 1);
  std::vector<std::string_view> entries;
  while (!text.empty() && entries.size() < kMostEntries) {
    const std::size_t end = text.find(kSeparator);
    entries.push_back(text.substr(0, end));
    text = end == std::string_view::npos ? "" : text.substr(end + kSeparator.size());
  }
  return entries;
}

int mode_mask(std::string_view name) {
  int mask = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    switch (name[i]) {
      case 'b':
        mask += 1;
        break;
      case 'g':
        mask += 2;
        break;
      case 'n':
        mask += 4;
        break;
      case 'a':
        if (name.substr(i + 1).starts_with('c')) {
          mask += 16;
          ++i;
        } else {
          mask += 8;
        }
        break;
      default:
        break;
    }
  }
  return mask;
}

void store_support_marker(SupportMarker marker, const std::string& mac) {
  switch (marker) {
    case SupportMarker::keep:
      break;
    case SupportMarker::set:
      run_command({"ap_info_load", mac}, "> %s", support_marker(mac));
      break;
    case SupportMarker::clear:
      my_rm("%s", support_marker(mac).c_str());
      break;
  }
}

}  // namespace

ChannelList channel_list_parse(std::string_view text, ChannelListHead head) {
  ChannelList channels;
  std::size_t position = 0;
  for (const std::string_view entry : channel_entries(text)) {
    const std::size_t at = position++;
    if (head == ChannelListHead::power_and_band && at < 2) {
      (at == 0 ? channels.to_txpower : channels.band) = decimal_int(entry);
    } else if (const Value label = channel_label(decimal(entry))) {
      channels.labels.append(channels.labels.empty() ? "" : ",").append(*label);
    }
  }
  return channels;
}

std::string wireless_mode_mask_list(std::string_view text) {
  std::string masks;
  for (const std::string_view name : str_split(text, ',', kMostEntries)) {
    const char* separator = masks.empty() ? "" : ",";
    masks = my_string(std::move(masks), "%s%d", separator, mode_mask(name));
  }
  return masks;
}

Capability ap_capability_parse(const Report& report) {
  Capability capability;
  add_system(capability, report);
  add_two_four_ghz(capability, report);
  add_five_ghz(capability, report);
  const bool fetches = decimal(value_of(report, kSystem, "wget_update").value_or("")) != 0;
  capability.marker = fetches ? SupportMarker::set : SupportMarker::clear;
  add_operation(capability, report);
  return capability;
}

Capability ap_info_load(const std::string& mac) {
  const std::string path = M("%s/%s", paths::kCapabilities, mac.c_str());
  if (!isRegularFile(path)) {
    return {};
  }
  Capability capability;
  if (const std::optional<Report> report = Report::load(path, mac)) {
    capability = ap_capability_parse(*report);
    store_support_marker(capability.marker, mac);
  }
  if (access(paths::kKeepCapabilities, F_OK) != 0) {
    my_rm("%s", path.c_str());
  }
  return capability;
}
