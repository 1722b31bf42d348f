#include "report_text.h"

#include <array>

#include "platform/text.h"

namespace {

constexpr int kSlots = 3;
constexpr std::array<const char*, kSlots> kSsids{"Office", "Guest", "Devices"};
constexpr std::array<const char*, 6> kForeignSsids{
    "HomeNet_%04d", "Cafe \"%d\"", "O'Neill %d", "Corner Shop Guest %d", "printer-%d-setup", ""};

/// Every n-th station is reported as a poor client, too.
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

/// A radio that is heard.
struct Heard {
  std::string mac;
  std::string ssid;  // empty: hidden
  int frequency_mhz;
  int signal;  // dBm
  bool five_ghz;
};

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

std::string frequency(int mhz) {
  return M("%d.%03d GHz", mhz / 1000, mhz % 1000);
}

void add_own_radios(std::string& text, int ap) {
  for (int radio = 0; radio < kRadiosOfAnAp; ++radio) {
    const bool five_ghz = is_five_ghz(radio);
    text = my_string(std::move(text),
                     "[%s%02d]\nAddress = %s\nESSID = %s\nMode = Master\nFrequency = %s\n"
                     "Bit Rate = %s\nTx-Power = 20 dBm\nLink Quality = 94/94\n"
                     "Signal level = %d dBm\nNoise level = -95 dBm\n"
                     "Security mode = WPA2-PSK / AES\n\n",
                     five_ghz ? "5G_" : "", radio % kSlots + 1, radio_mac(ap, radio).c_str(),
                     kSsids[static_cast<std::size_t>(radio % kSlots)],
                     frequency(frequency_mhz(ap, five_ghz)).c_str(),
                     five_ghz ? "866.7 Mb/s" : "144.4 Mb/s", pick(-48, -40, ap, radio, 1));
  }
}

void add_stations(std::string& text, int ap, int count) {
  std::array<int, kRadiosOfAnAp> numbers{};
  for (int n = 0; n < count; ++n) {
    const int radio = n % kRadiosOfAnAp;
    const bool five_ghz = is_five_ghz(radio);
    const int number = ++numbers[static_cast<std::size_t>(radio)];
    text = my_string(std::move(text),
                     "[%02d client %s%02d]\nADDR = %s\nAID = %d\nCHAN = %d\nRATE = %dM\n"
                     "RXRATE = %dM\nRSSI = %d\nIDLE = %d\nTXSEQ = %d\nRXSEQ = %d\n\n",
                     radio % kSlots + 1, five_ghz ? "5G " : "", number, station_mac(ap, n).c_str(),
                     number, five_ghz ? 36 + 4 * (ap % 4) : 1 + 5 * (ap % 3),
                     pick(1, 60, ap, n, 2) * 13, pick(1, 60, ap, n, 3) * 13, pick(8, 55, ap, n, 4),
                     pick(0, 60, ap, n, 5), pick(0, 4095, ap, n, 6), pick(0, 65535, ap, n, 7));
  }
}

void add_poor_clients(std::string& text, int ap, int stations) {
  for (int n = 0; n < stations / kPoorClientEvery; ++n) {
    text = my_string(std::move(text),
                     "[POOR_CLIENT %02d]\nADDR = %s\nSSID = Office\nRSSI = %d\nSTATUS = 1\n"
                     "CONNECTION_TIME = %d\n\n",
                     n + 1, station_mac(ap, n * kPoorClientEvery).c_str(), pick(1, 8, ap, n, 8),
                     1'700'000'000 + n);
  }
}

std::vector<Heard> heard_radios(const ReportPlan& plan) {
  std::vector<Heard> heard;
  const int managed = plan.size.radios / kRadiosOfAnAp;
  for (std::size_t i = 0; i < plan.neighbours.size(); ++i) {
    const int ap = plan.neighbours[i];
    for (int radio = 0; radio < kRadiosOfAnAp && static_cast<int>(heard.size()) < managed;
         ++radio) {
      const bool five_ghz = is_five_ghz(radio);
      const int signal =
          i < 2 ? pick(-68, -58, plan.ap, ap, radio) : pick(-90, -76, plan.ap, ap, radio);
      heard.push_back({radio_mac(ap, radio), kSsids[static_cast<std::size_t>(radio % kSlots)],
                       frequency_mhz(ap, five_ghz), signal, five_ghz});
    }
  }
  const int foreign = plan.size.radios - static_cast<int>(heard.size());
  for (int n = plan.first_foreign; n < plan.first_foreign + foreign; ++n) {
    const char* ssid = kForeignSsids[static_cast<std::size_t>(n) % kForeignSsids.size()];
    std::string name(ssid);
    if (const std::size_t number = name.find('%'); number != std::string::npos) {
      const std::size_t end = name.find('d', number) + 1;
      name = name.substr(0, number) + std::to_string(n) + name.substr(end);
    }
    const bool five_ghz = n % 3 == 0;
    heard.push_back({M("0A:F0:00:%02X:%02X:%02X", static_cast<unsigned>(n) >> 16U & 0xffU,
                       static_cast<unsigned>(n) >> 8U & 0xffU, static_cast<unsigned>(n) & 0xffU),
                     name, frequency_mhz(n, five_ghz), pick(-92, -45, plan.ap, n, 9), five_ghz});
  }
  return heard;
}

void add_heard_radios(std::string& text, const ReportPlan& plan) {
  int numbers[2] = {0, 0};
  for (const Heard& radio : heard_radios(plan)) {
    text = my_string(std::move(text), "[Cell %s%02d]\nAddress = %s\n", radio.five_ghz ? "5G " : "",
                     ++numbers[radio.five_ghz ? 1 : 0], radio.mac.c_str());
    if (!radio.ssid.empty()) {
      text = my_string(std::move(text), "ESSID = %s\n", radio.ssid.c_str());
    }
    text = my_string(std::move(text),
                     "Mode = Master\nFrequency = %s\nQuality = %d/94\nSignal = %d dBm\n"
                     "Noise = -95 dBm\nEncryption_key = on\n\n",
                     frequency(radio.frequency_mhz).c_str(), radio.signal + 95, radio.signal);
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
  std::string text =
      M("[00]\nMAC = %s\ncpu = 12%%\nmemory = 41%%\nversion = 2.1.0\nuptime = 3 days, 04:17\n\n",
        ap_mac(plan.ap).c_str());
  add_own_radios(text, plan.ap);
  add_stations(text, plan.ap, plan.size.stations);
  add_heard_radios(text, plan);
  for (std::size_t i = 0; i < plan.neighbours.size() && i < 2; ++i) {
    text = my_string(std::move(text), "[01 client 5G MESH %02d]\nADDR = %s\nRSSI = %d\n\n",
                     static_cast<int>(i) + 1, radio_mac(plan.neighbours[i], kSlots).c_str(), 40);
  }
  text = my_string(std::move(text), "[TRACEROUTE]\n00 = 10.0.0.254\n01 = 10.0.0.253 1.2\n\n");
  add_poor_clients(text, plan.ap, plan.size.stations);
  return text;
}

int neighbours_heard(ReportSize size) {
  return (size.radios / kRadiosOfAnAp + kRadiosOfAnAp - 1) / kRadiosOfAnAp;
}
