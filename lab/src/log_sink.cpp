// lab-log-sink: the appliance's system log. It binds the datagram socket /dev/log and appends each
// message to /recorded/syslog as one line: newlines at its end are cut, other bytes that are not
// printable ASCII are \xHH. The file appears when the socket is there. SIGTERM ends it after what
// was already sent has been written.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Larger than any datagram that the default socket buffers let through.
constexpr std::size_t largest_message = 262'144;

volatile std::sig_atomic_t stopped = 0;

int failed(const char* what) {
  std::fprintf(stderr, "lab-log-sink: %s: %s\n", what, std::strerror(errno));
  return 1;
}

std::string as_line(std::string_view message) {
  while (message.ends_with('\n')) {
    message.remove_suffix(1);
  }
  std::string line;
  for (const char c : message) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte < 0x7f) {
      line += c;
    } else {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02X", byte);
      line += hex;
    }
  }
  return line + "\n";
}

}  // namespace

int main() {
  // SIGTERM is let in only while ppoll waits: it can neither be missed nor cut a message off.
  sigset_t term;
  sigset_t while_waiting;
  sigemptyset(&term);
  sigaddset(&term, SIGTERM);
  sigprocmask(SIG_BLOCK, &term, &while_waiting);
  sigdelset(&while_waiting, SIGTERM);
  struct sigaction action = {};
  action.sa_handler = [](int) { stopped = 1; };
  sigaction(SIGTERM, &action, nullptr);

  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/dev/log");
  if (log == -1 || bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    return failed(address.sun_path);
  }
  const int file = open("/recorded/syslog", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (file == -1) {
    return failed("/recorded/syslog");
  }

  std::vector<char> buffer(largest_message);
  for (;;) {
    const ssize_t size = recv(log, buffer.data(), buffer.size(), 0);
    if (size >= 0) {
      const std::string line = as_line({buffer.data(), static_cast<std::size_t>(size)});
      if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        return failed("/recorded/syslog");
      }
    } else if (errno != EAGAIN) {
      return failed(address.sun_path);
    } else if (stopped) {
      return 0;
    } else {
      pollfd waiting = {log, POLLIN, 0};
      ppoll(&waiting, 1, nullptr, &while_waiting);
    }
  }
}
