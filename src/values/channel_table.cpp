#include "values/channel_table.h"

#include <array>
#include <span>
#include <string>

#include "values/split.h"

namespace {

struct Channel {
  std::uint16_t number;
  std::string_view label;
};

constexpr std::array<Channel, 14> kTwoFourGhz{{{1, "1 (2412 MHz)"},
                                               {2, "2 (2417 MHz)"},
                                               {3, "3 (2422 MHz)"},
                                               {4, "4 (2427 MHz)"},
                                               {5, "5 (2432 MHz)"},
                                               {6, "6 (2437 MHz)"},
                                               {7, "7 (2442 MHz)"},
                                               {8, "8 (2447 MHz)"},
                                               {9, "9 (2452 MHz)"},
                                               {10, "10 (2457 MHz)"},
                                               {11, "11 (2462 MHz)"},
                                               {12, "12 (2467 MHz)"},
                                               {13, "13 (2472 MHz)"},
                                               {14, "14 (2484 MHz)"}}};

constexpr std::array<Channel, 27> kFiveGhz{{
    {36, "36 (5180 MHz)"},   {40, "40 (5200 MHz)"},   {44, "44 (5220 MHz)"},
    {48, "48 (5240 MHz)"},   {52, "52 (5260 MHz)"},   {56, "56 (5280 MHz)"},
    {60, "60 (5300 MHz)"},   {64, "64 (5320 MHz)"},   {100, "100 (5500 MHz)"},
    {104, "104 (5520 MHz)"}, {108, "108 (5540 MHz)"}, {112, "112 (5560 MHz)"},
    {116, "116 (5580 MHz)"}, {120, "120 (5600 MHz)"}, {124, "124 (5620 MHz)"},
    {128, "128 (5640 MHz)"}, {132, "132 (5660 MHz)"}, {136, "136 (5680 MHz)"},
    {140, "140 (5700 MHz)"}, {149, "149 (5745 MHz)"}, {153, "153 (5765 MHz)"},
    {157, "157 (5785 MHz)"}, {161, "161 (5805 MHz)"}, {165, "165 (5825 MHz)"},
    {169, "169 (5845 MHz)"}, {173, "173 (5865 MHz)"}, {177, "177 (5885 MHz)"},
}};

/// The last channel whose label is shown; those above it are in the table for their frequency only.
constexpr std::int64_t kLastLabelled = 165;

std::span<const Channel> channels(Band band) {
  if (band == Band::two_four_ghz) {
    return kTwoFourGhz;
  }
  return kFiveGhz;
}

}  // namespace

std::optional<std::string_view> channel_label(std::int64_t number) {
  const Band band = number <= kTwoFourGhz.back().number ? Band::two_four_ghz : Band::five_ghz;
  if (number > kLastLabelled) {
    return std::nullopt;
  }
  for (const Channel& channel : channels(band)) {
    if (channel.number == number) {
      return channel.label;
    }
  }
  return std::nullopt;
}

std::uint16_t frequency_to_channel(Band band, std::string_view value) {
  std::string digits(first_word(value, 9));
  const std::size_t point = digits.find('.');
  if (point == std::string::npos) {
    return 0;
  }
  digits.erase(point, 1);
  for (const Channel& channel : channels(band)) {
    if (channel.label.find(digits) != std::string_view::npos) {
      return channel.number;
    }
  }
  return 0;
}
