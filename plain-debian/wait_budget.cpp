#include "wait_budget.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <csignal>

namespace {

using Clock = std::chrono::steady_clock;

Clock::duration waited{0};
volatile std::sig_atomic_t guarded_socket = -1;

void shut_down_guarded_socket(int /*signal*/) {
  shutdown(guarded_socket, SHUT_RDWR);
}

void set_timer(WaitTime time) {
  constexpr long kMillisecondsPerSecond = 1'000;
  constexpr long kMicrosecondsPerMillisecond = 1'000;
  itimerval timer{};
  timer.it_value.tv_sec = time.count() / kMillisecondsPerSecond;
  timer.it_value.tv_usec = time.count() % kMillisecondsPerSecond * kMicrosecondsPerMillisecond;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

WaitTime wait_budget_left() {
  const auto left = kProcessLimit - std::chrono::duration_cast<WaitTime>(waited);
  return left.count() > 0 ? left : WaitTime{0};
}

void wait_budget_end() {
  waited = kProcessLimit;
}

BudgetedWait::BudgetedWait(int socket) : start_(Clock::now()) {
  const WaitTime left = wait_budget_left();
  if (socket < 0 || left >= kAnswerLimit) {
    return;
  }
  guarded_socket = socket;
  struct sigaction action {};
  action.sa_handler = shut_down_guarded_socket;
  sigaction(SIGALRM, &action, nullptr);
  set_timer(left.count() > 0 ? left : WaitTime{1});
  armed_ = true;
}

BudgetedWait::~BudgetedWait() {
  if (armed_) {
    set_timer(WaitTime{0});
    guarded_socket = -1;
  }
  waited += Clock::now() - start_;
}
