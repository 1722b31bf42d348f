#include "lifecycle/capability.h"

#include <unistd.h>

#include <optional>
#include <span>
#include <vector>

#include "control/firmware_offer.h"
#include "control/shell_command.h"
#include "platform/files.h"
#include "platform/text.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "values/split.h"

namespace {

constexpr const char* kSystem = "SYSTEM";

constexpr std::size_t kLongestValue = 1023;
constexpr std::size_t kMostEntries = 60;
constexpr std::size_t kMostDigits = 18;  // of a number, which is not quoted in a statement

/// The list of an AP that cannot raise its power.
constexpr std::string_view kNoHighPower = "0,0,0,0,0,0";
/// The registry's value for an ability that the AP lacks.
constexpr const char* kUnable = "-1";

/// A part of a band with power and channel lists of its own: the endings of their keys and columns.
struct Part {
  const char* key;
  SqlName column;
};

struct BandNames {
  Band band;
  const char* section;
  SqlName prefix;  // of its columns
  std::span<const Part> parts;
};

constexpr Part kWholeBand[] = {{"", ""}};
constexpr Part kSubBands[] = {{"1", "_1"}, {"2", "_2"}, {"3", "_3"}, {"4", "_4"}};
constexpr BandNames kBandNames[] = {{Band::two_four_ghz, "2.4G", "", kWholeBand},
                                    {Band::five_ghz, "5G", "5G_", kSubBands}};

using Value = std::optional<std::string>;

Value value_of(const Report& report, const char* section, const std::string& key) {
  const std::optional<std::string_view> value = report.text(section, key);
  return value ? Value(value->substr(0, kLongestValue)) : std::nullopt;
}

/// Appends the assignment of a text; nothing for none.
void assign(Statement& assignments, const Statement& column, const Value& text) {
  if (text) {
    assignments = statement("%s, `%s`='%s'", assignments, column, *text);
  }
}

bool is_decimal_number(std::string_view text) {
  text.remove_prefix(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
  return !text.empty() && text.size() <= kMostDigits &&
         text.find_first_not_of("0123456789") == std::string_view::npos;
}

void add_system(Capability& capability, const Report& report) {
  assign(capability.initial, statement("fw_version"), value_of(report, kSystem, "version"));
  if (const Value poe = value_of(report, kSystem, "poe_passthru")) {
    assign(capability.initial, statement("poe"), decimal(*poe) == 0 ? kUnable : "0");
  }
  const std::string ports = value_of(report, kSystem, "ethernet_num").value_or("");
  capability.refresh = statement("%s, `wired_max`=%s", capability.refresh,
                                 SqlNumber{is_decimal_number(ports) ? ports : "0"});
  capability.fetches_updates = decimal(value_of(report, kSystem, "wget_update").value_or("")) != 0;
}

void add_band(Capability& capability, const Report& report, const BandNames& band) {
  const auto value = [&](const std::string& key) { return value_of(report, band.section, key); };
  const auto column = [&](SqlName name, SqlName ending) {
    return statement("%s%s%s", band.prefix, name, ending);
  };
  Statement& refresh = capability.refresh;
  assign(refresh, column("ssid_max", ""), value("ssid_max"));
  if (const Value modes = value("mode")) {
    assign(refresh, column("wireless_mode_list", ""), wireless_mode_mask_list(*modes));
  }
  bool unable = false;
  for (const Part& part : band.parts) {
    const Value high_power = value(M("hi_txpower%s", part.key));
    assign(refresh, column("high_txpower_list", part.column), high_power);
    assign(refresh, column("txpower_list", part.column), value(M("txpower%s", part.key)));
    unable = unable || high_power == kNoHighPower;
  }
  if (unable) {
    assign(capability.initial, column("high_power", ""), kUnable);
  }
  for (const Part& part : band.parts) {
    const ChannelList channels =
        channel_list_parse(value(M("channel%s", part.key)).value_or(""), band.band);
    if (channels.labels.empty()) {
      continue;
    }
    const Statement list = column("channel_list", part.column);
    if (band.band == Band::five_ghz) {
      assign(refresh, statement("%s_toTxpower", list), std::to_string(channels.to_txpower));
      assign(refresh, statement("%s_band", list), std::to_string(channels.band));
    }
    assign(refresh, list, channels.labels);
  }
  assign(refresh, column("channel_ext_list", ""), value("extension"));
  if (const auto label = channel_label(decimal(value("defult_channel").value_or("")))) {
    assign(capability.initial, column("channel", ""), Value(*label));
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
    const std::size_t bit = std::string_view("bgna").find(name[i]);
    mask += bit == std::string_view::npos ? 0 : 1 << bit;
    mask += name.substr(i).starts_with("ac") ? 8 : 0;  // 16 instead of 8
  }
  return mask;
}

}  // namespace

ChannelList channel_list_parse(std::string_view text, Band band) {
  ChannelList channels;
  std::size_t position = band == Band::five_ghz ? 0 : 2;
  for (const std::string_view entry : channel_entries(text)) {
    const std::size_t at = position++;
    if (at < 2) {
      (at == 0 ? channels.to_txpower : channels.band) = decimal_int(entry);
    } else if (const std::optional<std::string_view> label = channel_label(decimal(entry))) {
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
  for (const BandNames& band : kBandNames) {
    add_band(capability, report, band);
  }
  if (const Value mode = value_of(report, "OPERATION", "mode")) {
    capability.refresh =
        statement("%s, `op_mode`=%d", capability.refresh, my_tolower(*mode) == "mesh" ? 1 : 0);
  }
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
    if (capability.fetches_updates) {
      run_command({"ap_info_load", mac}, "> %s", support_marker(mac));
    } else {
      my_rm("%s", support_marker(mac).c_str());
    }
  }
  if (access(paths::kKeepCapabilities, F_OK) != 0) {
    my_rm("%s", path.c_str());
  }
  return capability;
}
