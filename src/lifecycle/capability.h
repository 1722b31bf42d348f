#pragma once

#include <string>
#include <string_view>

#include "db/statement.h"
#include "reports/report.h"
#include "values/channel_table.h"

// An AP's description of itself when it joins: a capability file, /database/ap/info/<MAC>, with the
// sections SYSTEM, 2.4G, 5G and OPERATION. The controller writes it before the join; the join reads
// and removes it.

/// What a capability file changes in the AP's row of the registry: assignments that each begin with
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

/// Parses "x,1,,6,,11,": what comes before the first comma and after the last is skipped; entries are
/// separated by ",,", and at most 60 are read. The first two of a 5 GHz value are no channels, but
/// `to_txpower` and `band`.
ChannelList channel_list_parse(std::string_view text, Band band);

/// The comma list of mode masks for a comma list of mode names. A mask is the sum of b 1, g 2, n 4, a 8,
/// ac 16; other letters count for nothing. At most 60 names; the last one takes the rest.
std::string wireless_mode_mask_list(std::string_view text);

/// Reads the AP's capability file, if there is one, sets or clears its support marker accordingly
/// and removes the file, even one that cannot be read, unless /database/ap/info/debug exists. The MAC
/// has to be well formed.
Capability ap_info_load(const std::string& mac);
