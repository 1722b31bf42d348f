#pragma once

#include <cstddef>

#include "db/rows.h"

// Checks of the hints that Connection::fetch_ahead gets, compiled in with AP_RUN_HINT_CHECKS (the dev
// preset has it; elsewhere they cost nothing) and switched by the variable AP_RUN_HINTS:
//
//   verify       a query that was answered ahead, or from memory, is asked again where the answer is
//                taken; a difference ends the process with the statement's text. For tests that run
//                one hook at a time: another hook may change the answer meanwhile.
//   none         hints are not followed
//   count:FILE   FILE gets a line "<queries fetched ahead> <answers never taken>" when the process
//                ends

namespace hint_check {

#ifdef AP_RUN_HINT_CHECKS

bool is_verifying();
bool is_without_hints();
void count_fetched();
void count_dropped(std::size_t answers);

/// Ends the process unless both hold the same rows. Rewinds both.
void expect_same(Rows& taken, Rows& asked_again, const char* statement);

#else

constexpr bool is_verifying() {
  return false;
}
constexpr bool is_without_hints() {
  return false;
}
constexpr void count_fetched() {}
constexpr void count_dropped(std::size_t /*answers*/) {}
inline void expect_same(Rows& /*taken*/, Rows& /*asked_again*/, const char* /*statement*/) {}

#endif

}  // namespace hint_check
