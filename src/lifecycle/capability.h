#pragma once

#include <string>
#include <string_view>

#include "db/statement.h"
#include "reports/report.h"

// What an AP says of itself when it joins: a capability file, /database/ap/info/<MAC>, with the
// sections SYSTEM, 2.4G, 5G and OPERATION. The controller writes it before the join; the join reads
// and removes it.

/// What a capability file means for the AP's row in the registry: assignments that each begin with
/// ", " and can follow another one in a statement. Empty for nothing.
struct Capability {
  Statement refresh;             // written at every join
  Statement initial;             // written only when the AP is registered
  bool fetches_updates = false;  // the AP gets a support marker
};

/// Reads a capability file. Values are cut to 1023 bytes and escaped; a channel that has no label
/// is left out, and so is a list without labels. A number of Ethernet ports that is no decimal
/// number (a sign and up to 18 digits) is written as 0.
Capability ap_capability_parse(const Report& report);

/// The channels of a capability's channel value.
struct ChannelList {
  int to_txpower = 0;  // number of the power list that belongs to the channels
  int band = 0;        // number of the sub-band, as the AP gives it
  std::string labels;  // comma list; empty for none
};

/// Whether the first two entries of a channel value mean something other than channels.
enum class ChannelListHead { none, power_and_band };

/// Takes apart "x,1,,6,,11,": what comes before the first comma and after the last is skipped;
/// entries are joined by ",,", of which at most 60 are taken.
ChannelList channel_list_parse(std::string_view text, ChannelListHead head);

/// The comma list of mode masks for a comma list of mode names: the letters of a name add up, b 1,
/// g 2, n 4, a 8, ac 16, others nothing. At most 60 names; the last one takes the rest.
std::string wireless_mode_mask_list(std::string_view text);

/// Reads the AP's capability file, if there is one, sets or clears its support marker accordingly
/// and removes the file, also one that cannot be read. While /database/ap/info/debug exists, the
/// files stay. The MAC has to be well formed.
Capability ap_info_load(const std::string& mac);
