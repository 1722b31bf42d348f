#include "reports/own_radios.h"

#include <span>

#include "db/registry.h"
#include "db/schema.h"
#include "reports/store_in_order.h"
#include "values/client_record.h"

namespace {

constexpr const char* kOperation = "ap_interface_parse";
constexpr const char* kStoring = "update_ap_legal_table";

enum class Interface { access_point, mesh };

radio_record read_radio(const Report& report, const std::string& section, Band band,
                        Interface interface) {
  const std::string mode = my_tolower(std::string(report.text(section, "Mode").value_or("AP")));
  radio_record radio;
  radio.mac = value_or_marker(report, section, "Address", 17);
  radio.essid = value_or_marker(report, section, "ESSID", 127);
  radio.mode = interface == Interface::mesh || mode == "ad-hoc" ? 1 : 0;
  radio.channel = frequency_to_channel(band, report.text(section, "Frequency")).value_or(0);
  radio.rate = value_or_marker(report, section, "Bit Rate", 19);
  radio.transmit_power = value_or_marker(report, section, "Tx-Power", 9);
  radio.quality = value_or_marker(report, section, "Link Quality", 9);
  radio.signal = level_value(report, section, "Signal level");
  radio.noise = level_value(report, section, "Noise level");
  radio.security = value_or_marker(report, section, "Security mode", 255);
  return radio;
}

/// Finds the AP's own row of the radio.
Query known_query(const Ap& ap, const radio_record& radio) {
  return query(Step(kStoring, "(1/2) "),
               "SELECT `ap` FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0 AND "
               "`mac`=UPPER('%s')",
               AP_CLIENT, ap.sn, radio.mac);
}

void store_radio(Ap& ap, const radio_record& radio) {
  const Rows known = ap.db.ask(known_query(ap, radio));
  if (!known) {
    return;
  }
  const auto essid_sn = static_cast<unsigned int>(get_profile_sn_by_ssid(ap.db, radio.essid));
  if (known.count() > 0) {
    ap.db.run(Step(kStoring, "(2/2) "),
              "UPDATE `%s`.`legal` SET `utime`=NOW(), `essid`='%s', `essid_sn`=%u, `mode`=%u, "
              "`rate`='%s', `channel`=%u, `transmit_power`='%s', `quality`='%s', `signal`='%s', "
              "`noise`='%s', `security`='%s' WHERE `ap`=%d AND `refer_ap`=0 AND `mac`=UPPER('%s')",
              AP_CLIENT, stored_text(radio.essid), essid_sn, radio.mode, stored_text(radio.rate),
              radio.channel, stored_text(radio.transmit_power), stored_text(radio.quality),
              stored_text(radio.signal), stored_text(radio.noise), stored_text(radio.security),
              ap.sn, radio.mac);
  } else {
    ap.db.run(
        Step(kStoring, "(2/2) "),
        "INSERT INTO `%s`.`legal` (`utime`, `ap`, `mac`, `essid`, `essid_sn`, `mode`, `rate`, "
        "`channel`, `transmit_power`, `quality`, `signal`, `noise`, `security`) VALUES "
        "(NOW(), %d, UPPER('%s'), '%s', %u, %u, '%s', %u, '%s', '%s', '%s', '%s', '%s') ",
        AP_CLIENT, ap.sn, radio.mac, stored_text(radio.essid), essid_sn, radio.mode,
        stored_text(radio.rate), radio.channel, stored_text(radio.transmit_power),
        stored_text(radio.quality), stored_text(radio.signal), stored_text(radio.noise),
        stored_text(radio.security));
  }
}

}  // namespace

Listing<radio_record> read_radios(const Report& report) {
  Listing<radio_record> radios;
  radios.longest = kSlots;
  for (const Interface interface : {Interface::access_point, Interface::mesh}) {
    for (const Band band : kBands) {
      const char* kind = interface == Interface::mesh ? "MESH_" : "";
      read_list(
          radios, report, M("%s%s", band_prefix(band, "5G_"), kind), "Address",
          [&](const std::string& section) { return read_radio(report, section, band, interface); });
    }
  }
  return radios;
}

void ap_interface_parse(Ap& ap, const Report& report) {
  if (!ap.db.open() || ap.look_up_reporting(kOperation) == 0) {
    return;
  }
  Listing<radio_record> radios = read_radios(report);
  std::erase_if(radios.records, [](const radio_record& radio) { return radio.essid.empty(); });
  const auto fetch_ahead = [&](std::span<const radio_record> next) {
    for (const radio_record& radio : next) {
      ap.db.fetch_ahead(known_query(ap, radio));
      ap.db.fetch_ahead(profile_sn_query(radio.essid));
    }
  };
  ap.db.in_transaction(Step(kOperation), [&] {
    delete_ap_legal_table(ap.db, ap.sn);
    trace_unread(ap.db, Step(kOperation), radios);
    store_in_order(std::span<const radio_record>(radios.records), &radio_record::mac, fetch_ahead,
                   [&](const radio_record& radio) { store_radio(ap, radio); });
  });
}

void delete_ap_legal_table(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table"), "DELETE FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0",
         AP_CLIENT, sn);
}
