#include "building/radio.h"

#include <algorithm>
#include <cmath>

namespace lab {

namespace {

constexpr double kFirstMetre[] = {40.2, 46.9};  // free space at 2.44 and 5.3 GHz

/// Twice the signed area of the triangle; its sign tells on which side of a-b the point c lies.
double side(Point a, Point b, Point c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool crosses(Point from, Point to, const Wall& wall) {
  return side(from, to, wall.from) * side(from, to, wall.to) < 0 &&
         side(wall.from, wall.to, from) * side(wall.from, wall.to, to) < 0;
}

}  // namespace

double distance(Point a, Point b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

double path_loss(Band band, Point from, Point to, const Air& air) {
  double loss = kFirstMetre[number_of(band)] +
                10 * air.exponent * std::log10(std::max(1.0, distance(from, to)));
  for (const Wall& wall : air.walls) {
    if (crosses(from, to, wall)) {
      loss += wall.loss * (band == Band::five_ghz ? kFiveGhzWalls : 1);
    }
  }
  return loss;
}

double level(Band band, double power, Point from, Point to, const Air& air) {
  return power - path_loss(band, from, to, air);
}

int frequency(Band band, int channel) {
  if (band == Band::five_ghz) {
    return channel >= 36 && channel <= 177 ? 5000 + 5 * channel : 0;
  }
  return channel == 14 ? 2484 : channel >= 1 && channel <= 13 ? 2407 + 5 * channel : 0;
}

int link_rate(Band band, double quality) {
  static constexpr int kRates[2][8] = {{6, 13, 26, 39, 52, 78, 104, 144},
                                       {6, 58, 117, 175, 351, 526, 702, 866}};
  const int step = std::clamp(static_cast<int>((quality - 2) / 5), 0, 7);
  return kRates[number_of(band)][step];
}

}  // namespace lab
