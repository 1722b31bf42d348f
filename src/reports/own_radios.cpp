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

radio_record read_radio(const ReportSection& section, Band band, Interface interface) {
  const bool is_mesh = interface == Interface::mesh;
  return {.mac = section.text("Address", 17, kMissingValue),
          .essid = section.text("ESSID", 127, kMissingValue),
          .mode = static_cast<std::uint8_t>(
              is_mesh || my_tolower(section.text("Mode", kWhole, "AP")) == "ad-hoc" ? 1 : 0),
          .channel = frequency_to_channel(band, section.text("Frequency", kWhole, "")),
          .rate = section.text("Bit Rate", 19, ""),
          .transmit_power = section.text("Tx-Power", 9, ""),
          .quality = section.text("Link Quality", 9, ""),
          .signal = section.level("Signal level"),
          .noise = section.level("Noise level"),
          .security = section.text("Security mode", 255, "")};
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
              AP_CLIENT, stored_text(radio.essid), essid_sn, radio.mode, radio.rate, radio.channel,
              radio.transmit_power, radio.quality, radio.signal, radio.noise, radio.security, ap.sn,
              radio.mac);
  } else {
    ap.db.run(
        Step(kStoring, "(2/2) "),
        "INSERT INTO `%s`.`legal` (`utime`, `ap`, `mac`, `essid`, `essid_sn`, `mode`, `rate`, "
        "`channel`, `transmit_power`, `quality`, `signal`, `noise`, `security`) VALUES "
        "(NOW(), %d, UPPER('%s'), '%s', %u, %u, '%s', %u, '%s', '%s', '%s', '%s', '%s') ",
        AP_CLIENT, ap.sn, radio.mac, stored_text(radio.essid), essid_sn, radio.mode, radio.rate,
        radio.channel, radio.transmit_power, radio.quality, radio.signal, radio.noise,
        radio.security);
  }
}

}  // namespace

Listing<radio_record> read_radios(const Report& report) {
  Listing<radio_record> radios{.longest = kSlots};
  for (const Interface interface : {Interface::access_point, Interface::mesh}) {
    for (const Band band : kBands) {
      const char* kind = interface == Interface::mesh ? "MESH_" : "";
      read_list(radios, report, M("%s%s", band_prefix(band, "5G_"), kind), "Address",
                [&](const ReportSection& section) { return read_radio(section, band, interface); });
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
    store_in_order(radios.records, &radio_record::mac, fetch_ahead,
                   [&](const radio_record& radio) { store_radio(ap, radio); });
  });
}

void delete_ap_legal_table(Connection& db, int sn) {
  db.run(Step("delete_ap_legal_table"), "DELETE FROM `%s`.`legal` WHERE `ap`=%d AND `refer_ap`=0",
         AP_CLIENT, sn);
}
