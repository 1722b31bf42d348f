#include "building/database.h"

#include "kit/files.h"
#include "kit/text.h"
#include "values/paths.h"

namespace lab {

std::vector<kit::SqlRow> query(const std::string& statement) {
  return kit::Database().rows(statement);
}

void set_up_appliance(const std::vector<std::string>& ssids, const std::string& settings) {
  std::string profiles;
  int number = 0;
  for (const std::string& ssid : ssids) {
    profiles += kit::format("%s%d", number == 0 ? "" : ",", number + 1);
    ++number;
    query(kit::format("REPLACE INTO AP_INFO.ap_profile (SN, SSID) VALUES (%d, %s)", number,
                      kit::sql_literal(ssid).c_str()));
  }
  kit::write_file(paths::kSettings, "[controller]\ndefault_profile_sn = " + profiles +
                                        "\n[settings]\n" + settings +
                                        "[named]\nSYSTEM_PORT_NUM = 0\n");
}

}  // namespace lab
