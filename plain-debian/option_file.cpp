#include "option_file.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "values/paths.h"
#include "values/split.h"

namespace {

/// The lines of the option file but for comments and empty ones, without leading blanks. Read once.
const std::vector<std::string>& option_lines() {
  static const std::vector<std::string> lines = [] {
    std::vector<std::string> found;
    std::ifstream file(paths::kDatabaseOptions);
    for (std::string line; std::getline(file, line);) {
      line.erase(0, line.find_first_not_of(" \t"));
      if (!line.empty() && line[0] != '#' && line[0] != ';') {
        found.push_back(line);
      }
    }
    return found;
  }();
  return lines;
}

/// Whether the library reads the group of this line, "[client]" and the like, for the program.
bool is_our_group(const std::string& line) {
  const std::string group = line.substr(1, line.find(']') - 1);
  return group == "ap-run" || group.starts_with("client");
}

/// "name", "name:port" or, as an IPv6 address has colons itself, "[address]:port".
DatabaseHost parse_host(std::string name) {
  unsigned int port = 0;
  const std::size_t colon = name.rfind(':');
  if (colon != std::string::npos && (name.find(':') == colon || name.rfind(']') == colon - 1)) {
    port = static_cast<unsigned int>(std::strtoul(name.c_str() + colon + 1, nullptr, 10));
    name.resize(colon);
  }
  if (name.starts_with('[') && name.ends_with(']')) {
    name = name.substr(1, name.size() - 2);
  }
  return {name, port};
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
    } else if (const std::size_t equals = line.find('=');
               is_ours && equals != std::string::npos &&
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
