#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace kit {

/// Reads the command line. The status for main to end with, if it is to end: 0 after --help, 2
/// after one line that says what is wrong. In the header, so that what is shipped need not link the
/// kit.
inline std::optional<int> read_command_line(CLI::App& app, int argc, char** argv) try {
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    const std::vector<std::string> unknown = failed->remaining();  // what is missing follows later
    return failed->get_name() + ": " +
           (unknown.empty() ? error.what() : "not expected: " + unknown.front()) +
           " (see --help)\n";
  });
  app.parse(argc, argv);
  return std::nullopt;
} catch (const CLI::ParseError& error) {
  return app.exit(error) == 0 ? 0 : 2;
}

}  // namespace kit
