#pragma once

#include <optional>
#include <string>

// Command files: how an AP is told something. A file in /database/ap/command is a command that the
// controller has not fetched yet; it takes the file away and carries its text to the AP. Each AP
// has one slot for ordinary commands, "[CMD]=<MAC>", and one for downloads, "[CMD]=<MAC>.update".
//
// A file appears whole: it is written under a name that the controller leaves alone and then linked
// into the slot, which also makes the test for a free slot and its taking one step. MACs have to be
// well formed (is_mac), because they name files.

/// Values of a command's `type` line, and of the type argument of `ap-command`.
enum class CommandType { reboot = 2, firmware = 3, steering = 4, release_all = 5, sync = 8 };

/// The path of the AP's command slot.
std::string command_slot(const std::string& mac);

/// Queues `content`, lines of "key=value\n" without the head line, in the AP's slot, or in the slot
/// of that `suffix` ("update"). Waits for a taken slot, 15 tries a second apart, and counts a file
/// that cannot be made as a taken slot; then the command is lost. The written text is traced. None
/// for `content` does nothing.
void ap_conf_set(const std::optional<std::string>& content, const std::string& mac,
                 const std::optional<std::string>& suffix);

/// Queues a reboot at once, over whatever waits in the slot. Nothing happens when the file cannot
/// be made.
void command_reboot(const std::string& mac);

/// Queues the release of all blocks, with the time of writing. Waits for a taken slot as
/// ap_conf_set does, but gives up at once when the file cannot be made.
void command_release_all(const std::string& mac);
