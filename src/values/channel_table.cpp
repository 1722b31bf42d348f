#include "values/channel_table.h"

#include <string>

#include "values/decimal.h"
#include "values/split.h"

namespace {

// The labels of each band, in order, a line feed before each.
constexpr std::string_view kTwoFourGhz =
    "\n1 (2412 MHz)\n2 (2417 MHz)\n3 (2422 MHz)\n4 (2427 MHz)\n5 (2432 MHz)\n6 (2437 MHz)"
    "\n7 (2442 MHz)\n8 (2447 MHz)\n9 (2452 MHz)\n10 (2457 MHz)\n11 (2462 MHz)\n12 (2467 MHz)"
    "\n13 (2472 MHz)\n14 (2484 MHz)";
constexpr std::string_view kFiveGhz =
    "\n36 (5180 MHz)\n40 (5200 MHz)\n44 (5220 MHz)\n48 (5240 MHz)\n52 (5260 MHz)\n56 (5280 MHz)"
    "\n60 (5300 MHz)\n64 (5320 MHz)\n100 (5500 MHz)\n104 (5520 MHz)\n108 (5540 MHz)"
    "\n112 (5560 MHz)\n116 (5580 MHz)\n120 (5600 MHz)\n124 (5620 MHz)\n128 (5640 MHz)"
    "\n132 (5660 MHz)\n136 (5680 MHz)\n140 (5700 MHz)\n149 (5745 MHz)\n153 (5765 MHz)"
    "\n157 (5785 MHz)\n161 (5805 MHz)\n165 (5825 MHz)\n169 (5845 MHz)\n173 (5865 MHz)"
    "\n177 (5885 MHz)";

/// The last channel whose label is shown; those above it are in the table for their frequency only.
constexpr std::int64_t kLastLabelled = 165;

}  // namespace

std::optional<std::string_view> channel_label(std::int64_t number) {
  const std::string begin = "\n" + std::to_string(number) + " ";
  for (const std::string_view labels : {kTwoFourGhz, kFiveGhz}) {
    const std::size_t at = labels.find(begin);
    if (at != std::string_view::npos && number <= kLastLabelled) {
      const std::string_view label = labels.substr(at + 1);
      return label.substr(0, label.find('\n'));
    }
  }
  return std::nullopt;
}

std::uint16_t frequency_to_channel(Band band, std::string_view value) {
  const std::string_view labels = band == Band::two_four_ghz ? kTwoFourGhz : kFiveGhz;
  std::string digits(first_word(value, 9));
  const std::size_t point = digits.find('.');
  if (point == std::string::npos) {
    return 0;
  }
  const std::size_t at = labels.find(digits.erase(point, 1), 1);
  return at == std::string_view::npos
             ? 0
             : cut_to<std::uint16_t>(decimal(labels.substr(labels.rfind('\n', at) + 1, 3)));
}
