#include "general_log.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace {

/// A line that begins an entry: "<time or nothing>\t[\t]<blanks><id> <command>\t<argument>".
struct Entry {
  std::string id;
  std::string_view command;
  std::string_view argument;
};

bool is_digit(char letter) {
  return letter >= '0' && letter <= '9';
}

/// Whether the text before an entry's tabulators is a time, "241231 23:59:59", or nothing.
bool is_time_or_empty(std::string_view text) {
  constexpr std::string_view kForm = "dddddd dd:dd:dd";
  return text.empty() ||
         (text.size() == kForm.size() &&
          std::equal(text.begin(), text.end(), kForm.begin(), [](char letter, char form) {
            return form == 'd' ? is_digit(letter) || letter == ' ' : letter == form;
          }));
}

std::optional<Entry> entry_of(std::string_view line) {
  const std::size_t head = line.find('\t');
  if (head == std::string_view::npos || !is_time_or_empty(line.substr(0, head))) {
    return std::nullopt;
  }
  line.remove_prefix(std::min(line.find_first_not_of("\t ", head), line.size()));
  const auto* const id_end = std::find_if_not(line.begin(), line.end(), is_digit);
  const std::string id(line.begin(), id_end);
  line.remove_prefix(id.size());
  const std::size_t command_end = line.find('\t');
  if (id.empty() || !line.starts_with(' ') || command_end == std::string_view::npos) {
    return std::nullopt;
  }
  return Entry{id, line.substr(1, command_end - 1), line.substr(command_end + 1)};
}

}  // namespace

std::vector<LoggedConnection> parse_general_log(std::string_view text) {
  std::vector<LoggedConnection> connections;
  std::string* open_statement = nullptr;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));

    const std::optional<Entry> entry = entry_of(line);
    if (!entry) {
      if (open_statement != nullptr) {
        open_statement->append("\n").append(line);
      }
      continue;
    }
    open_statement = nullptr;
    if (entry->command == "Connect") {
      connections.push_back({entry->id, {}});
    }
    const auto found = std::find_if(connections.begin(), connections.end(),
                                    [&](const auto& known) { return known.id == entry->id; });
    if (entry->command == "Query" && found != connections.end()) {
      open_statement = &found->statements.emplace_back(entry->argument);
    }
  }
  return connections;
}
