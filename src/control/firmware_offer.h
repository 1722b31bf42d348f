#pragma once

#include <optional>
#include <string>

#include "control/command_file.h"
#include "db/ap.h"

// Offering an AP a file to download. The file is published under its base name in /var/ap_update,
// the firewall lets the AP's address through, and a command in the AP's download slot names the
// file and the port. Only APs with a support marker can download; the others need the update tool.

/// The path of the AP's support marker, a file that exists when the AP fetches updates by itself. The
/// MAC has to be well formed (is_mac), because it names the file.
std::string support_marker(const std::string& mac);

/// What is needed to offer a file, or why it cannot be offered.
struct DownloadOffer {
  std::string link;                    // path of the link in the download directory
  std::string command;                 // lines for the AP's download slot
  std::optional<std::string> refusal;  // why there is no offer; none when there is one
};

/// The offer of the file `base_name`, fetched from `port`. Refused when the name would not stay one
/// line of the command (it is empty or holds a line end), or when the link's path or the command is
/// longer than 511 bytes: nothing is cut.
DownloadOffer download_offer(CommandType type, const std::string& base_name, int port);

/// Whether `address` can name an AP in a firewall rule, which takes IPv4: not all zeros.
bool is_ap_address(const std::string& address);

/// Prepares the download of `file_path` (its full path) by the AP, announced as a command of `type`
/// (firmware or sync). `ap_ip` is the AP's address; none: the recorded one.
///
/// Returns 1 when the file was offered, and for a path without "/", for which nothing is done. Returns
/// 0 when the update tool has to do the work: the AP has no support marker, or, as a trace line says,
/// the file cannot be offered or there is no address to open the firewall for. Then nothing has been
/// changed. A firewall rule or a command that fails is reported as a loss.
///
/// Opening the firewall deletes the AP's rules and adds them again, so that one of each kind
/// remains. Something that already has the link's name stays as it is.
int wum_update_check(Ap& ap, const std::optional<std::string>& ap_ip, const std::string& file_path,
                     CommandType type);
