#pragma once

#include <string>

#include "db/ap.h"
#include "values/command_type.h"

// Command files. A file in /database/ap/command is a command for an AP that the controller has not
// fetched yet; it removes the file and sends its text to the AP. Each AP has one slot for ordinary
// commands, "[CMD]=<MAC>", and one for downloads, "[CMD]=<MAC>.update".
//
// A file appears whole: it is written under a name that the controller ignores and then linked into
// the slot, which also tests whether the slot is free and takes it in one step. MACs have to be well
// formed (is_mac), because they name files.
//
// A command that cannot be written is lost, which is traced and reported. While a slot is taken, it is
// tried again every second, without a database connection; after any other failure (a full disk, a
// missing directory) it is not.

enum class CommandSlot { ordinary, download };

/// The parts of a slot's file name before and after the AP's MAC.
inline constexpr const char* kSlotPrefix = "[CMD]=";
inline constexpr const char* kDownloadEnding = ".update";

/// A command is lost when its slot stays taken for this long, in seconds.
inline constexpr int kSlotPatience = 15;

/// The path of a slot of the AP.
std::string command_slot(const std::string& mac, CommandSlot slot);

/// Queues `content`, lines of "key=value\n" without the head line, in a slot of the AP. The written
/// text is traced. `remedy`: whether the AP's next report makes up for a command that is lost.
void ap_conf_set(Ap& ap, const std::string& content, CommandSlot slot, Remedy remedy);

/// Queues a reboot at once, in place of any command in the slot.
void command_reboot(const Ap& ap);

/// Queues the release of all blocks, with the time of writing.
void command_release_all(Ap& ap);

/// Writes and links a file as for a command, under other names, and removes both. Returns 0, or the
/// error number of the system that keeps commands from being made.
int try_command_file();

/// Removes the files of processes that died while they wrote a command: those that are more than a
/// minute old and named after a process that is gone.
void remove_abandoned_commands();
