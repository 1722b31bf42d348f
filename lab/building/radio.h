#pragma once

#include <vector>

namespace lab {

enum class Band { two_ghz, five_ghz };
inline constexpr Band kBands[] = {Band::two_ghz, Band::five_ghz};
inline constexpr int number_of(Band band) {
  return band == Band::two_ghz ? 0 : 1;
}

/// A place on the floor plan, in metres from its upper left corner.
struct Point {
  double x = 0;
  double y = 0;
};
double distance(Point a, Point b);

struct Wall {
  Point from;
  Point to;
  double loss = 0;  // dB at 2.4 GHz for a ray that crosses it
};

/// What is between a sender and a receiver.
struct Air {
  double exponent = 2.6;  // 2 is free space; furniture, people and floors make it larger
  std::vector<Wall> walls;
};

inline constexpr double kNoiseFloor = -95;    // dBm, either band
inline constexpr double kFaintest = -90;      // dBm: nothing below this is heard
inline constexpr double kFiveGhzWalls = 1.5;  // walls take more decibels from shorter waves

/// Decibels lost on the way: those of the first metre, the distance and every wall crossed.
double path_loss(Band band, Point from, Point to, const Air& air);

/// Level in dBm of a radio of `power` dBm at `from` that is received at `to`.
double level(Band band, double power, Point from, Point to, const Air& air);

/// Frequency in MHz; 0 for a channel that the band does not have.
int frequency(Band band, int channel);
inline Band band_of(int channel) {
  return channel > 14 ? Band::five_ghz : Band::two_ghz;
}

/// The link rate in Mb/s that a signal of `quality` dB above the noise carries.
int link_rate(Band band, double quality);

}  // namespace lab
