#pragma once

#include <chrono>

// How long this process waits for the database. The limits are deadlines, whatever arrives meanwhile:
// the client library restarts its own limits with each byte. Hooks are short; one that waits long on a
// slow server is better gone than piling up with hundreds of its kind.

using WaitClock = std::chrono::steady_clock;
using WaitTime = WaitClock::duration;

inline constexpr WaitTime kConnectLimit = std::chrono::seconds(3);  // name look-up, greeting, TLS
inline constexpr WaitTime kFullLimit =
    std::chrono::seconds(10);  // while a server says that it is full
inline constexpr WaitTime kAnswerLimit = std::chrono::seconds(10);
inline constexpr WaitTime kProcessLimit = std::chrono::seconds(20);  // in all, over all connections

/// What is left of kProcessLimit; 0 when it is used up or a connect has timed out.
WaitTime wait_budget_left();

/// Ends the budget: nothing further is waited for.
void wait_budget_end();

/// Counts its own lifetime as waiting. When that reaches `limit`, or what is left of kProcessLimit,
/// the socket is shut down, and the library returns an error at once. At most one lives at a time.
///
/// The deadline is checked by a timer that ticks while the process has a connection: a wait costs no
/// system call, and ends at most 0.1 seconds late.
class BudgetedWait {
 public:
  /// Watches `socket`, which has connected.
  BudgetedWait(WaitTime limit, int socket);

  /// Watches every socket that is opened from now on: the library's while it connects, and the
  /// resolver's.
  explicit BudgetedWait(WaitTime limit);

  ~BudgetedWait();
  BudgetedWait(const BudgetedWait&) = delete;
  BudgetedWait& operator=(const BudgetedWait&) = delete;

 private:
  WaitClock::time_point start_ = WaitClock::now();
};

/// Stops the timer until the next wait. For when the connection is closed.
void wait_budget_rest();
