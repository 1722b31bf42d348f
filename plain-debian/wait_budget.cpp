#include "wait_budget.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

using Clock = std::chrono::steady_clock;

constexpr WaitTime kTick{100};
constexpr WaitTime kTickWhenLate{10};  // for a resolver, which goes on to the next server

/// Descriptors that are watched while a connection is being made; a process has a handful.
constexpr int kMostWatched = 64;

Clock::duration waited{0};
bool is_ticking = false;

// What the signal handler looks at. The process has one thread.
static_assert(std::atomic<Clock::rep>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free);
constexpr Clock::rep kNone = 0;
constexpr int kNewSockets = -1;
std::atomic<Clock::rep> deadline = kNone;
std::atomic<int> watched_socket = kNewSockets;
std::array<std::atomic<bool>, kMostWatched> was_open{};

void set_timer(WaitTime time) {
  constexpr long kMicrosecondsPerMillisecond = 1'000;
  itimerval timer{};
  timer.it_value.tv_usec = time.count() * kMicrosecondsPerMillisecond;
  timer.it_interval = timer.it_value;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

/// Makes whoever reads from the socket give up. Of a datagram socket that has been shut down a
/// resolver would go on reading until its own time is up, so a pipe that has ended takes its place.
void cut_off(int socket) {
  int type = 0;
  socklen_t size = sizeof type;
  int ends[2];
  if (getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
    return;  // no socket
  }
  if (type != SOCK_DGRAM) {
    shutdown(socket, SHUT_RDWR);
  } else if (pipe2(ends, O_CLOEXEC) == 0) {
    dup2(ends[0], socket);
    close(ends[0]);
    close(ends[1]);
  }
}

/// Calls nothing but what a signal handler may.
void on_tick(int /*signal*/) {
  const Clock::rep end = deadline;
  if (end == kNone || Clock::now().time_since_epoch().count() < end) {
    return;
  }
  const int interrupted_with = errno;
  if (watched_socket != kNewSockets) {
    cut_off(watched_socket);
  } else {
    for (int socket = STDERR_FILENO + 1; socket < kMostWatched; ++socket) {
      if (!was_open[static_cast<std::size_t>(socket)]) {
        cut_off(socket);
      }
    }
    set_timer(kTickWhenLate);
  }
  errno = interrupted_with;
}

void begin(Clock::time_point start, WaitTime limit, int socket) {
  if (!is_ticking) {
    struct sigaction action {};
    action.sa_handler = on_tick;
    action.sa_flags = SA_RESTART;
    // Without the handler, the first tick would end the process.
    if (sigaction(SIGALRM, &action, nullptr) == 0) {
      set_timer(kTick);
      is_ticking = true;
    }
  }
  watched_socket = socket;
  deadline = (start + std::min(limit, wait_budget_left())).time_since_epoch().count();
}

}  // namespace

WaitTime wait_budget_left() {
  return std::max(kProcessLimit - std::chrono::duration_cast<WaitTime>(waited), WaitTime{0});
}

void wait_budget_end() {
  waited = kProcessLimit;
}

void wait_budget_rest() {
  if (is_ticking) {
    set_timer(WaitTime{0});
    is_ticking = false;
  }
}

BudgetedWait::BudgetedWait(WaitTime limit, int socket) : start_(Clock::now()) {
  begin(start_, limit, socket);
}

BudgetedWait::BudgetedWait(WaitTime limit) : start_(Clock::now()) {
  for (int descriptor = 0; descriptor < kMostWatched; ++descriptor) {
    was_open[static_cast<std::size_t>(descriptor)] = fcntl(descriptor, F_GETFD) >= 0;
  }
  begin(start_, limit, kNewSockets);
}

BudgetedWait::~BudgetedWait() {
  deadline = kNone;
  waited += Clock::now() - start_;
}
