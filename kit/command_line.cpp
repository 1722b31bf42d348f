#include "kit/command_line.h"

namespace kit {

std::optional<int> read_command_line(CLI::App& app, int argc, char** argv) try {
  app.parse(argc, argv);
  return std::nullopt;
} catch (const CLI::ParseError& error) {
  return app.exit(error) == 0 ? 0 : 2;
}

}  // namespace kit
