#include "reports/own_radios.h"

#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/together.h"
#include "values/client_record.h"

namespace {

constexpr const char* kOperation = "ap_interface_parse";
constexpr const char* kStoring = "update_ap_legal_table";

enum class Interface { access_point, mesh };

/// 1 for a radio that is no access point.
std::uint8_t read_mode(const Report& report, const std::string& section, Interface interface) {
  if (interface == Interface::mesh) {
    return 1;
  }
  return my_tolower(std::string(report.text(section, "Mode").value_or("AP"))) == "ad-hoc" ? 1 : 0;
}

radio_record read_radio(const Report& report, const std::string& section, Band band,
                        Interface interface) {
  radio_record radio;
  radio.mac = value_or_marker(report, section, "Address", 17);
  radio.essid = value_or_marker(report, section, "ESSID", 127);
  radio.mode = read_mode(report, section, interface);
  radio.channel = frequency_to_channel(band, report.text(section, "Frequency")).value_or(0);
  radio.rate = value_or_marker(report, section, "Bit Rate", 19);
  radio.transmit_power = value_or_marker(report, section, "Tx-Power", 9);
  radio.quality = value_or_marker(report, section, "Link Quality", 9);
  radio.signal = level_value(report, section, "Signal level");
  radio.noise = level_value(report, section, "Noise level");
  radio.security = value_or_marker(report, section, "Security mode", 255);
  return radio;
}

std::string sql_value(const std::string& text) {
  return sql_text(stored_text(text));
}

void update_known(Connection& db, int sn, const radio_record& radio, int essid_sn) {
  db.run(Step(kStoring, "(2/2) "),
         "UPDATE `%s`.`legal` SET `utime`=NOW(), `essid`='%s', `essid_sn`=%u, `mode`=%u, "
         "`rate`='%s', `channel`=%u, `transmit_power`='%s', `quality`='%s', `signal`='%s', "
         "`noise`='%s', `security`='%s' WHERE `ap`=%d AND `refer_ap`=0 AND `mac`=UPPER('%s')",
         AP_CLIENT, sql_value(radio.essid).c_str(), static_cast<unsigned int>(essid_sn), radio.mode,
         sql_value(radio.rate).c_str(), radio.channel, sql_value(radio.transmit_power).c_str(),
         sql_value(radio.quality).c_str(), sql_value(radio.signal).c_str(),
         sql_value(radio.noise).c_str(), sql_value(radio.security).c_str(), sn,
         sql_text(radio.mac).c_str());
}

void insert_new(Connection& db, int sn, const radio_record& radio, int essid_sn) {
  db.run(Step(kStoring, "(2/2) "),
         "INSERT INTO `%s`.`legal` (`utime`, `ap`, `mac`, `essid`, `essid_sn`, `mode`, `rate`, "
         "`channel`, `transmit_power`, `quality`, `signal`, `noise`, `security`) VALUES (NOW(), "
         "%d, UPPER('%s'), '%s', %u, %u, '%s', %u, '%s', '%s', '%s', '%s', '%s') ",
         AP_CLIENT, sn, sql_text(radio.mac).c_str(), sql_value(radio.essid).c_str(),
         static_cast<unsigned int>(essid_sn), radio.mode, sql_value(radio.rate).c_str(),
         radio.channel, sql_value(radio.transmit_power).c_str(), sql_value(radio.quality).c_str(),
         sql_value(radio.signal).c_str(), sql_value(radio.noise).c_str(),
         sql_value(radio.security).c_str());
}

/// Stores radios of which none comes twice; their look-ups go out together.
void store_together(Connection& db, int sn, std::span<const radio_record> radios) {
  std::vector<Question> known;
  std::vector<Question> profiles;
  for (const radio_record& radio : radios) {
    known.push_back(db.ask_ahead(
        Step(kStoring, "(1/2) "),
        "SELECT `ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0 AND `mac`=UPPER('%s')",
        AP_CLIENT, sn, sql_text(radio.mac).c_str()));
    profiles.push_back(ask_profile_sn_by_ssid(db, radio.essid));
  }
  for (std::size_t i = 0; i < radios.size(); ++i) {
    known[i].trace();
    const Rows rows = known[i].rows();
    if (!rows) {
      continue;
    }
    if (rows.count() > 0) {
      update_known(db, sn, radios[i], profile_sn(profiles[i]));
    } else {
      insert_new(db, sn, radios[i], profile_sn(profiles[i]));
    }
  }
}

}  // namespace

Listing<radio_record> read_radios(const Report& report) {
  Listing<radio_record> radios;
  for (const Interface interface : {Interface::access_point, Interface::mesh}) {
    for (const Band band : kBands) {
      const char* kind = interface == Interface::mesh ? "MESH_" : "";
      read_list(
          radios, report, M("%s%s", band_prefix(band, "5G_"), kind), "Address", kSlots,
          [&](const std::string& section) { return read_radio(report, section, band, interface); });
    }
  }
  return radios;
}

int ap_interface_parse(const std::string& mac, const Report& report) {
  Connection db(mac);
  if (!db) {
    return db.result();
  }
  const int sn = get_reporting_ap_sn(db, mac, kOperation);
  if (sn != 0) {
    delete_ap_legal_table(db, sn);
  }
  Listing<radio_record> radios = read_radios(report);
  trace_stranded(db, Step(kOperation), radios.stranded);
  std::erase_if(radios.records, [](const radio_record& radio) { return radio.essid.empty(); });
  update_ap_legal_table(db, sn, radios.records);
  return db.close();
}

void update_ap_legal_table(Connection& db, int sn, std::span<const radio_record> radios) {
  while (sn != 0 && !radios.empty()) {
    const std::size_t together = count_together(radios, &radio_record::mac);
    store_together(db, sn, radios.first(together));
    radios = radios.subspan(together);
  }
}

void delete_ap_legal_table(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table"), "DELETE FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0",
         AP_CLIENT, sn);
}
