#pragma once

#include <chrono>

// How long this process has waited for the database, over all its connections. Hooks are short:
// one that waits long on a slow server is better gone than piling up with hundreds of its kind.

using WaitTime = std::chrono::milliseconds;

inline constexpr WaitTime kConnectLimit{3'000};  // for a server that says nothing
inline constexpr WaitTime kAnswerLimit{10'000};  // and for one that says that it is full
inline constexpr WaitTime kProcessLimit{20'000};

/// What is left of kProcessLimit; 0 when it is used up or a connect has timed out.
WaitTime wait_budget_left();

/// Ends the budget: nothing further is waited for.
void wait_budget_end();

/// Counts its own lifetime as waiting. When less than kAnswerLimit is left, the library's own limit
/// would come too late: then it shuts `socket` down at the moment the budget ends, which makes the
/// library give up at once. -1 for no socket.
class BudgetedWait {
 public:
  explicit BudgetedWait(int socket);
  ~BudgetedWait();
  BudgetedWait(const BudgetedWait&) = delete;
  BudgetedWait& operator=(const BudgetedWait&) = delete;

 private:
  std::chrono::steady_clock::time_point start_;
  bool armed_ = false;
};
