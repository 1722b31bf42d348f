#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include "entry/personalities.h"
#include "platform/system_log.h"
#include "trace/trace_log.h"

namespace {

struct Personality {
  std::string_view name;
  void (*run)(int argc, char** argv);
};

constexpr Personality kPersonalities[] = {
    {"ap-up", up}, {"ap-down", down}, {"ap-history", history}, {"ap-command", command}};

/// Gives the process the same surroundings whoever starts it. A file must not be opened under the
/// number of a standard descriptor that came closed; an inherited signal setting must not end us at
/// a broken pipe or a file that reached its size limit, or hide that a child has ended; no variable
/// may lead the shell elsewhere.
void settle_surroundings() {
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

/// Tells of an event that an exception has ended, with the arguments that name it.
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
  const std::string_view path = argv[0];
  const std::string_view name = path.substr(path.rfind('/') + 1);
  for (const Personality& personality : kPersonalities) {
    if (name == personality.name) {
      try {
        settle_surroundings();
        personality.run(argc, argv);
      } catch (const std::exception& exception) {
        // Nothing of ours throws. Should memory run out, the event is lost, not the controller's
        // trust in our exit status.
        report_dropped_event(argc, argv, exception.what());
      } catch (...) {
        report_dropped_event(argc, argv, "an unknown exception");
      }
      break;
    }
  }
  return 0;
}
