#pragma once

// The limits by which stations are steered and the power of radios is stepped.

namespace limits {

/// Stations that every AP may keep. Above it an AP is crowded; below it a neighbour has room.
inline constexpr int kClientQuota = 3;

/// A station that has been idle for longer, in seconds, may be disconnected.
inline constexpr int kIdle = 30;

/// A station with a better link (no unit, as the AP reports it) may be refused: it can find another AP.
inline constexpr int kLink = 20;

/// Another AP that is heard above this level, in dBm, is near enough to take a station over.
inline constexpr int kNeighbourSignal = -70;

/// A radio heard above this level, in dBm, can still take stations that the AP refuses.
inline constexpr int kKeepSignal = -75;

/// Auto-RF: an AP heard above this level, in dBm, is loud; one heard below it is faint.
inline constexpr int kAutoRfSignal = -70;

}  // namespace limits
