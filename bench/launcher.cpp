#include "launcher.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <system_error>
#include <utility>

namespace {

/// Where the launcher has its end of the socket, beside the standard descriptors.
constexpr int kRequests = 3;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/// Serves requests until the driver ends. A request is the number of words, the words and the
/// additional variables, each ended by a NUL.
int serve(int socket) {
  dup3(socket, kRequests, O_CLOEXEC);
  closefrom(kRequests + 1);  // or the driver's ends would stay open
  char text[PIPE_BUF];
  for (;;) {
    const ssize_t size = recv(kRequests, text, sizeof(text), 0);
    if (size <= 0) {
      return 0;
    }
    const auto count = static_cast<unsigned char>(text[0]);
    kit::Program program{text + 1, {}, {}};
    for (const char* next = text + 1; next < text + size; next += std::strlen(next) + 1) {
      (program.words.size() < count ? program.words : program.environment).emplace_back(next);
    }
    const kit::Usage usage = kit::Child(program).finish();
    send(kRequests, &usage, sizeof(usage), MSG_NOSIGNAL);
  }
}

/// Both ends, the driver's first; what is sent at once is received at once.
std::pair<int, int> socket_pair() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    fail("socketpair");
  }
  return {ends[0], ends[1]};
}

}  // namespace

Launcher::Launcher() : Launcher(socket_pair()) {}

Launcher::Launcher(std::pair<int, int> ends)
    : socket_(ends.first), process_([&ends] { return serve(ends.second); }) {
  close(ends.second);
}

kit::Usage Launcher::run(const kit::Words& words, const kit::Words& environment) const {
  std::string request(1, static_cast<char>(words.size()));
  for (const auto* texts : {&words, &environment}) {
    for (const std::string& text : *texts) {
      request.append(text).append(1, '\0');
    }
  }
  kit::Usage usage{};
  if (request.size() > PIPE_BUF || send(socket_, request.data(), request.size(), 0) < 0 ||
      recv(socket_, &usage, sizeof(usage), 0) != sizeof(usage)) {
    fail("launcher");
  }
  return usage;
}

Launcher::~Launcher() {
  close(socket_);
}
