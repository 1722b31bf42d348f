#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>

#include "entry/personalities.h"
#include "platform/system_log.h"
#include "trace/trace_log.h"

namespace {

/// Gives the process the same environment whoever starts it. No file may get the number of a standard
/// descriptor that was closed; no inherited signal setting may end us at a broken pipe or a file that
/// reached its size limit, or hide that a child has ended; no variable may make the shell behave
/// differently.
void settle_environment() {
  for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
    if (fcntl(standard, F_GETFD) < 0) {
      open("/dev/null", O_RDWR);  // takes the lowest free number, which is this one
    }
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
  std::signal(SIGALRM, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);

  setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
  for (const char* name : {"IFS", "ENV", "BASH_ENV"}) {
    unsetenv(name);
  }
}

/// Reports an event that an exception has ended, with the arguments that name it.
void report_dropped_event(int argc, char** argv, const char* reason) {
  std::string event;
  for (int i = 0; i < argc; ++i) {
    event += (i == 0 ? "" : " ") + std::string(argv[i]);
  }
  ap_debug_log({"main", argv[argc - 1]}, "event dropped: %s", reason);
  my_report_loss(Loss::event, Remedy::none, event + ": event dropped: " + reason);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    return 0;
  }
  try {
    settle_environment();
    handle_event(argc, argv);
  } catch (const std::exception& exception) {
    // Nothing of ours throws. Should memory run out, the event is lost, but the exit status is 0.
    report_dropped_event(argc, argv, exception.what());
  } catch (...) {
    report_dropped_event(argc, argv, "an unknown exception");
  }
  return 0;
}
