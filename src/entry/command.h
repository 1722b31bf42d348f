#pragma once

/// The dispatcher of `ap-command`: args[0] is the command's type, a decimal number, and the other
/// arguments depend on it.
///
///   1  report cycle            report file, address, MAC
///   2  reboot                  MAC
///   3  firmware update         firmware file, MAC
///   5  release all blocks      (not used), MAC
///   8  update check            address, MAC
///   9  leave the update tool   MAC or all zeros, name (optional)
///   10 mark as being updated   (not used), MAC
///
/// Types 0, 4, 6 and 7 do nothing, nor does any other number. Each argument is traced first. Where
/// the MAC names a file, one that is not well formed ends the command after those lines.
void command(int count, char** args);
