#pragma once

#include <CLI/CLI.hpp>
#include <optional>

namespace kit {

/// Reads the command line. What main is to end with, if it is to end: 0 after --help, 2 after the
/// user was told what is wrong.
std::optional<int> read_command_line(CLI::App& app, int argc, char** argv);

}  // namespace kit
