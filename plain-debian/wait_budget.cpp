#include "wait_budget.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

namespace {

constexpr WaitTime kTick = std::chrono::milliseconds(100);
constexpr WaitTime kTickWhenLate =
    std::chrono::milliseconds(10);  // a resolver tries server after server

WaitTime waited{0};
bool is_ticking = false;

// What the signal handler reads. The process has one thread.
static_assert(std::atomic<WaitTime::rep>::is_always_lock_free &&
              std::atomic<std::uint64_t>::is_always_lock_free);
constexpr WaitTime::rep kNone = 0;
constexpr int kNewSockets = -1;
std::atomic<WaitTime::rep> deadline = kNone;
std::atomic<int> watched_socket = kNewSockets;
std::atomic<std::uint64_t> open_before = 0;  // a bit for each descriptor; a process has a handful
constexpr int kMostWatched = 64;

void set_timer(WaitTime time) {
  itimerval timer{};
  timer.it_value.tv_usec = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  timer.it_interval = timer.it_value;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

/// Ends all reading from the socket. A resolver would keep polling a datagram socket that was shut
/// down until its own time is up, so a closed pipe takes the place of one.
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
  const WaitTime::rep end = deadline;
  if (end == kNone || WaitClock::now().time_since_epoch().count() < end) {
    return;
  }
  const int interrupted_with = errno;
  if (watched_socket != kNewSockets) {
    cut_off(watched_socket);
  } else {
    for (int socket = STDERR_FILENO + 1; socket < kMostWatched; ++socket) {
      if ((open_before >> socket & 1) == 0) {
        cut_off(socket);
      }
    }
    set_timer(kTickWhenLate);
  }
  errno = interrupted_with;
}

void begin(WaitClock::time_point start, WaitTime limit, int socket) {
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
  return std::max(kProcessLimit - waited, WaitTime{0});
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

BudgetedWait::BudgetedWait(WaitTime limit, int socket) {
  begin(start_, limit, socket);
}

BudgetedWait::BudgetedWait(WaitTime limit) {
  std::uint64_t open = 0;
  for (int descriptor = 0; descriptor < kMostWatched; ++descriptor) {
    open |= std::uint64_t{fcntl(descriptor, F_GETFD) >= 0} << descriptor;
  }
  open_before = open;
  begin(start_, limit, kNewSockets);
}

BudgetedWait::~BudgetedWait() {
  deadline = kNone;
  waited += WaitClock::now() - start_;
}
