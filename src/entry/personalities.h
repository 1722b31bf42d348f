#pragma once

// The handlers of the names under which the controller starts the program. Each first writes a
// trace line per argument. `argc` and `argv` are the program's own.

/// An AP has joined: argv[1] is its address, argv[2] its MAC.
void up(int argc, char** argv);

/// An AP has left: argv[1] is its MAC.
void down(int argc, char** argv);

/// A history event of the AP with the MAC argv[2]; trace lines only.
void history(int argc, char** argv);

/// The dispatcher of `ap-command`: argv[1] is the command's type, a decimal number, and the other
/// arguments depend on it.
///
///   1  report cycle            report file, address, MAC
///   2  reboot                  MAC
///   3  firmware update         firmware file (held to 255 bytes), MAC
///   5  release all blocks      (not used), MAC
///   8  update check            address, MAC
///   9  leave the update tool   MAC or all zeros, name (optional)
///   10 mark as being updated   (not used), MAC
///
/// Types 0, 4, 6 and 7 do nothing, nor does any other number. Where the MAC names a file, one that
/// is not well formed ends the command after the trace lines.
void command(int argc, char** argv);
