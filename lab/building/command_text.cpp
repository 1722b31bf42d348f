#include "building/command_text.h"

#include "building/text.h"

namespace lab {

Command parse_command(const std::string& text) {
  Command command;
  for (const std::string& line : lines_of(text)) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
      continue;
    }
    const std::string numbered = line.substr(0, equals);
    const std::string key = numbered.substr(0, numbered.find_first_of("0123456789"));
    const std::string value = line.substr(equals + 1);
    const int number = static_cast<int>(number_in(value).value_or(0));
    if (key == "kick") {
      command.kick.push_back(value);
    } else if (key == "block") {
      command.block.push_back(value);
    } else if (key == "release") {
      command.release.push_back(value);
    } else if (key == "macFilterAddr") {
      for (const std::string& address : pieces_of(value, ',')) {
        command.filter_addresses.push_back(address);
      }
    } else if (key == "type") {
      command.type = number;
    } else if (key == "autoRF") {
      command.auto_rf = number;
    } else if (key == "macFilterControl") {
      command.filter_mode = number;
    } else if (key == "wget_filename") {
      command.file = value;
    }
  }
  return command;
}

}  // namespace lab
