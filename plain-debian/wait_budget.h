#pragma once

#include <chrono>

// How long this process waits for the database. The limits are deadlines, whatever arrives meanwhile:
// the client library restarts its own limits with each byte. Hooks are short; one that waits long on a
// slow server is better gone than piling up with hundreds of its kind.

using WaitTime = std::chrono::milliseconds;

inline constexpr WaitTime kConnectLimit{3'000};  // to connect: name look-up, greeting, TLS
inline constexpr WaitTime kFullLimit{10'000};    // to connect to a server that says that it is full
inline constexpr WaitTime kAnswerLimit{10'000};  // for an answer
inline constexpr WaitTime kProcessLimit{20'000};  // in all, over all connections

/// What is left of kProcessLimit; 0 when it is used up or a connect has timed out.
WaitTime wait_budget_left();

/// Ends the budget: nothing further is waited for.
void wait_budget_end();

/// Counts its own lifetime as waiting. When that reaches `limit`, or what is left of kProcessLimit,
/// the socket is shut down, which makes the library give up at once. At most one lives at a time.
///
/// A timer that ticks while a process has a connection sees to it, so that a wait costs no system
/// call. Deadlines are met to within 0.1 seconds.
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
  std::chrono::steady_clock::time_point start_;
};

/// Stops the timer until something is waited for again. For when a connection is gone.
void wait_budget_rest();
