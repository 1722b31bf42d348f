#include <map>
#include <regex>
#include <sstream>

#include "needed_schema.h"
#include "platform/text.h"
#include "shipped_files.h"

// Reads the tables out of the shipped schema files: a table begins with a line CREATE TABLE and ends
// with one that begins with ")", a column or a key is a line between them.

namespace {

/// What unique keys are for in the tables that the program writes; in the others it only looks rows
/// up.
const std::map<std::string, KeyUse> kWritten{{"ap_list", KeyUse::single},
                                             {"legal", KeyUse::replace},
                                             {"illegal", KeyUse::replace},
                                             {"block", KeyUse::replace},
                                             {"client", KeyUse::single}};

std::vector<std::string> quoted_names(const std::string& text) {
  static const std::regex kName("`([^`]+)`");
  std::vector<std::string> names;
  for (std::sregex_iterator name(text.begin(), text.end(), kName), end; name != end; ++name) {
    names.push_back(my_tolower((*name)[1]));
  }
  return names;
}

void read_line(const std::string& line, NeededTable& table) {
  static const std::regex kColumn("  `([^`]+)` (.*)");
  static const std::regex kKey("  (PRIMARY |UNIQUE )?KEY [^(]*(\\(.*\\)),?");
  const auto written = kWritten.find(table.table);
  std::smatch match;
  if (std::regex_match(line, match, kColumn)) {
    const std::string name = my_tolower(match[1]);
    const std::string type = match[2];
    const auto says = [&](const char* word) { return type.find(word) != std::string::npos; };
    table.columns[name] = {type, says("nopad_bin") && name.ends_with("ssid"),
                           written != kWritten.end() && says("AUTO_INCREMENT")};
  } else if (std::regex_match(line, match, kKey)) {
    const bool unique = match[1].matched && written != kWritten.end();
    table.keys.push_back({unique ? written->second : KeyUse::look_up, quoted_names(match[2])});
  }
}

std::vector<NeededTable> read_files() {
  static const std::regex kHead("CREATE TABLE IF NOT EXISTS `([^`]+)`\\.`([^`]+)` \\(");
  std::vector<NeededTable> tables;
  for (const auto& [file, text] : kShippedFiles) {
    bool inside = false;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
      std::smatch match;
      if (std::regex_match(line, match, kHead)) {
        tables.push_back({match[1], match[2], file, {}, {}});
        inside = true;
      } else if (line.starts_with(')')) {
        inside = false;
      } else if (inside) {
        read_line(line, tables.back());
      }
    }
  }
  return tables;
}

}  // namespace

const std::vector<NeededTable>& needed_tables() {
  static const std::vector<NeededTable> tables = read_files();
  return tables;
}
