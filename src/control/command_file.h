#pragma once

#include <string>

#include "db/ap.h"
#include "values/command_type.h"

// Command files: how an AP is told something. A file in /database/ap/command is a command that the
// controller has not fetched yet; it takes the file away and carries its text to the AP. Each AP
// has one slot for ordinary commands, "[CMD]=<MAC>", and one for downloads, "[CMD]=<MAC>.update".
//
// A file appears whole: it is written under a name that the controller leaves alone and then linked
// into the slot, which also makes the test for a free slot and its taking one step. MACs have to be
// well formed (is_mac), because they name files.
//
// A command that cannot be written is lost, which is traced and reported. A taken slot is waited
// for, a try a second, without a database connection; whatever else keeps the file from
// being made (a full disk, a missing directory) is not.

enum class CommandSlot { ordinary, download };

/// What a slot's file name is made of, around the AP's MAC.
inline constexpr const char* kSlotPrefix = "[CMD]=";
inline constexpr const char* kDownloadEnding = ".update";

/// A command is lost when its slot stays taken for so long, in seconds.
inline constexpr int kSlotPatience = 15;

/// The path of the AP's slot for ordinary commands.
std::string command_slot(const std::string& mac);

/// Queues `content`, lines of "key=value\n" without the head line, in a slot of the AP. The written
/// text is traced. `remedy`: whether the AP's next report makes up for a command that is lost.
void ap_conf_set(Ap& ap, const std::string& content, CommandSlot slot, Remedy remedy);

/// Queues a reboot at once, over whatever waits in the slot.
void command_reboot(const Ap& ap);

/// Queues the release of all blocks, with the time of writing.
void command_release_all(Ap& ap);

/// Writes a file beside the slots and links it, as a command would be, and removes both. Returns 0, or
/// the error number of the system that keeps commands from being made.
int try_command_file();

/// Removes what processes that died while they wrote a command have left behind: files that are more
/// than a minute old and named after a process that is gone.
void remove_abandoned_commands();
