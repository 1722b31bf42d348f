#include "building/database.h"
#include "values/paths.h"

#include <cstdio>

namespace lab {

namespace {

constexpr const char* kStatements = "/tmp/lab-statements.sql";

}  // namespace

std::vector<Words> query(const std::string& statements) {
  std::vector<Words> rows;
  write_text(kStatements, "SET SESSION sql_mode='';\n" + statements);
  FILE* output = popen(format("mariadb -N -B <%s", kStatements).c_str(), "re");
  if (output == nullptr) {
    std::perror("mariadb");
    return rows;
  }
  std::string text;
  char buffer[4096];
  for (std::size_t size = 0; (size = fread(buffer, 1, sizeof buffer, output)) > 0;) {
    text.append(buffer, size);
  }
  pclose(output);
  for (const std::string& line : lines_of(text)) {
    rows.push_back(pieces_of(line, '\t'));
  }
  return rows;
}

std::string sql_bytes(const std::string& bytes) {
  std::string literal = "X'";
  for (const char letter : bytes) {
    literal += format("%02X", static_cast<unsigned>(static_cast<unsigned char>(letter)));
  }
  return literal + "'";
}

void set_up_appliance(const std::vector<std::string>& ssids, const std::string& settings) {
  std::string profiles;
  std::string statements;
  int number = 0;
  for (const std::string& ssid : ssids) {
    profiles += format("%s%d", number == 0 ? "" : ",", number + 1);
    ++number;
    statements += format("REPLACE INTO AP_INFO.ap_profile (SN, SSID) VALUES (%d, %s);\n", number,
                         sql_bytes(ssid).c_str());
  }
  query(statements);
  write_text(paths::kSettings, "[controller]\ndefault_profile_sn = " + profiles + "\n[settings]\n" +
                                   settings + "[named]\nSYSTEM_PORT_NUM = 0\n");
}

}  // namespace lab
