#pragma once

#include <cstdint>
#include <random>

namespace lab {

/// The only source of chance in a building. The engine is fixed by the standard and the
/// distributions are our own, so a seed means the same building with every compiler.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// 0 <= unit() < 1.
  double unit() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }
  double between(double low, double high) { return low + (high - low) * unit(); }
  /// low to high, both included.
  int whole(int low, int high) { return low + static_cast<int>(unit() * (high - low + 1)); }
  bool chance(double probability) { return unit() < probability; }

  /// Near to normally distributed around 0, at most six times `spread` away.
  double bell(double spread) {
    double sum = -6;
    for (int i = 0; i < 12; ++i) {
      sum += unit();
    }
    return sum * spread;
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace lab
