#include "report_text.h"

#include <array>
#include <numeric>

#include "kit/report_text.h"
#include "platform/text.h"

namespace {

constexpr int kSlots = 3;
constexpr std::array<const char*, kSlots> kSsids{"Office", "Guest", "Devices"};
constexpr std::array<const char*, 6> kForeignSsids{
    "HomeNet_#", "Cafe \"#\"", "O'Neill #", "Corner Shop Guest #", "printer-#-setup", ""};

/// Every n-th station is reported as poorly served, too.
constexpr int kPoorClientEvery = 16;

/// A number that follows from the three, spread over 64 bits.
std::uint64_t mix(std::uint64_t a, std::uint64_t b, std::uint64_t c) {
  std::uint64_t x = 0x9e3779b97f4a7c15U + a * 0xbf58476d1ce4e5b9U + b * 0x94d049bb133111ebU + c;
  for (int i = 0; i < 3; ++i) {
    x = (x ^ (x >> 30U)) * 0xbf58476d1ce4e5b9U;
    x = (x ^ (x >> 27U)) * 0x94d049bb133111ebU;
  }
  return x ^ (x >> 31U);
}

/// A number from `low` to `high` that follows from the other three.
int pick(int low, int high, int a, int b, int c) {
  const std::uint64_t many = mix(static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(b),
                                 static_cast<std::uint64_t>(c));
  return low + static_cast<int>(many % static_cast<std::uint64_t>(high - low + 1));
}

std::string radio_mac(int ap, int radio) {
  return M("02:A0:%02X:%02X:00:%02X", static_cast<unsigned>(ap / 256),
           static_cast<unsigned>(ap % 256), static_cast<unsigned>(radio + 1));
}

bool is_five_ghz(int radio) {
  return radio >= kSlots;
}

int frequency_mhz(int ap, bool five_ghz) {
  return five_ghz ? 5180 + 20 * (ap % 4) : 2412 + 25 * (ap % 3);
}

void add_own_radios(kit::ReportText& report, int ap) {
  for (int radio = 0; radio < kRadiosOfAnAp; ++radio) {
    report.add(kit::OwnRadio{radio_mac(ap, radio), kSsids[static_cast<std::size_t>(radio % kSlots)],
                             frequency_mhz(ap, is_five_ghz(radio)), 20,
                             pick(-48, -40, ap, radio, 1)});
  }
}

void add_stations(kit::ReportText& report, int ap, int count) {
  std::array<int, kRadiosOfAnAp> numbers{};
  for (int n = 0; n < count; ++n) {
    const int radio = n % kRadiosOfAnAp;
    report.add(kit::ServedStation{
        radio % kSlots + 1, station_mac(ap, n), ++numbers[static_cast<std::size_t>(radio)],
        is_five_ghz(radio) ? 36 + 4 * (ap % 4) : 1 + 5 * (ap % 3), pick(1, 60, ap, n, 2) * 13,
        pick(1, 60, ap, n, 3) * 13, pick(8, 55, ap, n, 4), pick(0, 60, ap, n, 5),
        static_cast<unsigned>(pick(0, 4095, ap, n, 6)),
        static_cast<unsigned>(pick(0, 65535, ap, n, 7))});
  }
}

void add_poor_clients(kit::ReportText& report, int ap, int stations) {
  for (int n = 0; n < stations / kPoorClientEvery; ++n) {
    report.add(kit::PoorStation{1, station_mac(ap, n * kPoorClientEvery), "Office",
                                pick(1, 8, ap, n, 8), 1'700'000'000 + n});
  }
}

/// The SSID of a foreign radio; its "#" is the radio's number.
std::string foreign_ssid(int n) {
  std::string ssid = kForeignSsids[static_cast<std::size_t>(n) % kForeignSsids.size()];
  if (const std::size_t number = ssid.find('#'); number != std::string::npos) {
    ssid.replace(number, 1, std::to_string(n));
  }
  return ssid;
}

void add_heard_radios(kit::ReportText& report, const ReportPlan& plan) {
  const int managed = plan.size.radios / kRadiosOfAnAp;
  int count = 0;
  for (std::size_t i = 0; i < plan.neighbours.size(); ++i) {
    const int ap = plan.neighbours[i];
    for (int radio = 0; radio < kRadiosOfAnAp && count < managed; ++radio, ++count) {
      report.add(kit::HeardRadio{
          radio_mac(ap, radio), kSsids[static_cast<std::size_t>(radio % kSlots)],
          frequency_mhz(ap, is_five_ghz(radio)),
          i < 2 ? pick(-68, -58, plan.ap, ap, radio) : pick(-90, -76, plan.ap, ap, radio)});
    }
  }
  for (int n = plan.first_foreign; count < plan.size.radios; ++n, ++count) {
    const auto number = static_cast<unsigned>(n);
    report.add(kit::HeardRadio{
        M("0A:F0:00:%02X:%02X:%02X", number >> 16U & 0xffU, number >> 8U & 0xffU, number & 0xffU),
        foreign_ssid(n), frequency_mhz(n, n % 3 == 0), pick(-92, -45, plan.ap, n, 9)});
  }
}

}  // namespace

std::string ap_mac(int ap) {
  return M("02:A0:%02X:%02X:00:00", static_cast<unsigned>(ap / 256),
           static_cast<unsigned>(ap % 256));
}

std::string ap_address(int ap) {
  return M("10.0.%d.%d", ap / 250, ap % 250 + 1);
}

std::string station_mac(int ap, int n) {
  return M("06:b0:%02x:%02x:%02x:%02x", static_cast<unsigned>(ap / 256),
           static_cast<unsigned>(ap % 256), static_cast<unsigned>(n / 256),
           static_cast<unsigned>(n % 256));
}

std::string report_text(const ReportPlan& plan) {
  kit::ReportText report;
  report.add(kit::ApStatus{ap_mac(plan.ap), 12, 41, "2.1.0", "3 days, 04:17"});
  add_own_radios(report, plan.ap);
  add_stations(report, plan.ap, plan.size.stations);
  add_heard_radios(report, plan);
  for (std::size_t i = 0; i < plan.neighbours.size() && i < 2; ++i) {
    report.add_numbered("01 client 5G MESH ",
                        {{"ADDR", radio_mac(plan.neighbours[i], kSlots)}, {"RSSI", "40"}});
  }
  report.add_section("TRACEROUTE", {{"00", "10.0.0.254"}, {"01", "10.0.0.253 1.2"}});
  add_poor_clients(report, plan.ap, plan.size.stations);
  return report.text();
}

ReportPlan crowded(ReportSize size) {
  const int managed = size.radios / kRadiosOfAnAp;
  ReportPlan plan{1, size, {}, 0};
  plan.neighbours.resize(static_cast<std::size_t>((managed + kRadiosOfAnAp - 1) / kRadiosOfAnAp));
  std::iota(plan.neighbours.begin(), plan.neighbours.end(), plan.ap + 1);
  return plan;
}
