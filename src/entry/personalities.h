#pragma once

// The handlers of the names under which the controller starts the program. Each first writes a
// trace line per argument. `argc` and `argv` are the program's own.

/// An AP has joined: argv[1] is its address, argv[2] its MAC.
void up(int argc, char** argv);

/// An AP has left: argv[1] is its MAC.
void down(int argc, char** argv);

/// A history event of the AP with the MAC argv[2]; trace lines only.
void history(int argc, char** argv);
