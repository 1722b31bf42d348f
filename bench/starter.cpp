// Starts a program and says what it took:
//
//   bench-starter PROGRAM [ARG...]      prints <status> <wall ms> <processor ms> <peak KiB>
//
// It waits for the end of its standard input first, so that many can be let go at once. The kernel
// counts the memory of the process that starts a program into the program's own peak; so the driver,
// which is larger than a hook, has this one do it, which allocates nothing.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace {

double now_ms() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

}  // namespace

int main(int argc, char** argv) {
  char ignored = 0;
  while (read(STDIN_FILENO, &ignored, 1) > 0) {
  }
  int status = -1;
  rusage used{};
  pid_t child = 0;
  const double start = now_ms();
  if (argc < 2 || posix_spawn(&child, argv[1], nullptr, nullptr, argv + 1, environ) != 0 ||
      wait4(child, &status, 0, &used) != child) {
    return 1;
  }
  const double wall = now_ms() - start;
  std::printf("%d %.6f %.3f %ld\n", status, wall,
              milliseconds(used.ru_utime) + milliseconds(used.ru_stime), used.ru_maxrss);
  return 0;
}
