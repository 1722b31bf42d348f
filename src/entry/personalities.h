#pragma once

/// Handles the event for which the controller has started the program, by the last part of argv[0];
/// does nothing for another name. First writes a trace line per argument. `argc`, at least 2, and
/// `argv` are the program's own.
///
///   ap-up        an AP has joined: its address, its MAC
///   ap-down      an AP has left: its MAC
///   ap-history   a history event, trace lines only: ..., the AP's MAC
///   ap-command   the command's type, a decimal number, and what it needs:
///
///   1  report cycle            report file, address, MAC
///   2  reboot                  MAC
///   3  firmware update         firmware file (cut to 255 bytes), MAC
///   5  release all blocks      (not used), MAC
///   8  update check            address, MAC
///   9  leave the update tool   MAC or all zeros, name (optional)
///   10 mark as being updated   (not used), MAC
///
/// Other types do nothing. Where the MAC names a file, nothing is done for one that is not well formed.
void handle_event(int argc, char** argv);
