#pragma once

#include <cstddef>

#include "db/rows.h"

// Checks of the hints that Connection::fetch_ahead gets. With AP_RUN_HINT_CHECKS, which the dev preset
// sets, they come from kit/hint_check.cpp; elsewhere they cost nothing.

namespace hint_check {

#ifdef AP_RUN_HINT_CHECKS

bool is_verifying();
bool is_without_hints();

/// Adds to the numbers of queries fetched ahead and of answers dropped.
void count(std::size_t fetched, std::size_t dropped);

/// Ends the process unless both hold the same rows. Rewinds both.
void expect_same(Rows& taken, Rows& asked_again, const char* statement);

#else

constexpr bool is_verifying() {
  return false;
}
constexpr bool is_without_hints() {
  return false;
}
constexpr void count(std::size_t /*fetched*/, std::size_t /*dropped*/) {}
inline void expect_same(Rows& /*taken*/, Rows& /*asked_again*/, const char* /*statement*/) {}

#endif

}  // namespace hint_check
