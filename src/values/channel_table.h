#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

enum class Band { two_four_ghz, five_ghz };

/// How a channel is shown, "6 (2437 MHz)": its number, a blank and its centre frequency. Of 1 to 14,
/// and of 36 to 64, 100 to 140 and 149 to 165 in steps of 4; none for every other number.
std::optional<std::string_view> channel_label(std::int64_t number);

/// The channel of a frequency as an AP words it ("2.437 GHz"): the first of the band whose label
/// contains the first word (at most 9 bytes of it) without its first point. 0 without a point or a
/// match.
std::uint16_t frequency_to_channel(Band band, std::string_view value);
