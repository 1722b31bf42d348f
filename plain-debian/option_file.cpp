#include "option_file.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "values/paths.h"
#include "values/split.h"

namespace {

/// The lines of the option file but for comments and empty ones, without blanks in front.
std::vector<std::string> read_option_lines() {
  std::vector<std::string> lines;
  std::ifstream file(paths::kDatabaseOptions);
  for (std::string line; std::getline(file, line);) {
    const std::size_t start = line.find_first_not_of(" \t");
    if (start != std::string::npos && line[start] != '#' && line[start] != ';') {
      lines.push_back(line.substr(start));
    }
  }
  return lines;
}

/// Whether the library reads the group of this line, "[client]" and the like, for the program.
/// They are asked for twice at each start, and read once.
const std::vector<std::string>& option_lines() {
  static const std::vector<std::string> lines = read_option_lines();
  return lines;
}

bool is_our_group(const std::string& line) {
  const std::string group = line.substr(1, line.find(']') - 1);
  return group == "ap-run" || group.starts_with("client");
}

/// "name", "name:port" or, as an IPv6 address has colons itself, "[address]:port".
DatabaseHost parse_host(const std::string& text) {
  const std::size_t bracket = text.find(']');
  const std::size_t colon = text.rfind(':');
  const bool is_bracketed = text.starts_with('[') && bracket != std::string::npos;
  const bool has_port =
      colon != std::string::npos && (is_bracketed ? colon == bracket + 1 : text.find(':') == colon);
  DatabaseHost host{is_bracketed ? text.substr(1, bracket - 1) : text.substr(0, colon), 0};
  if (has_port) {
    host.port = static_cast<unsigned int>(std::strtoul(text.c_str() + colon + 1, nullptr, 10));
  } else if (!is_bracketed) {
    host.name = text;
  }
  return host;
}

/// The hosts of the value of `host`, blanks and quotes left out.
std::vector<DatabaseHost> parse_hosts(std::string value) {
  constexpr std::string_view kLeftOut = " \t\r\"'";
  std::erase_if(value,
                [&](char letter) { return kLeftOut.find(letter) != std::string_view::npos; });
  std::vector<DatabaseHost> hosts;
  for (const std::string_view name : str_split(value, ',', value.size() + 1)) {
    if (!name.empty()) {
      hosts.push_back(parse_host(std::string(name)));
    }
  }
  return hosts;
}

}  // namespace

std::vector<DatabaseHost> database_hosts() {
  std::string value;
  bool is_ours = false;
  for (const std::string& line : option_lines()) {
    if (line[0] == '[') {
      is_ours = is_our_group(line);
    }
    const std::size_t equals = line.find('=');
    if (is_ours && equals != std::string::npos &&
        line.substr(0, line.find_first_of(" \t=")) == "host") {
      value = line.substr(equals + 1);
    }
  }
  std::vector<DatabaseHost> hosts = parse_hosts(value);
  return hosts.size() > 1 ? hosts : std::vector<DatabaseHost>{{}};
}

bool may_ask_for_tls() {
  const std::vector<std::string>& lines = option_lines();
  return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line[0] == '!' || line.find("ssl") != std::string::npos ||
           line.find("tls") != std::string::npos;
  });
}
