#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>

#include "support/appliance.h"

// Something that stands in a database server's place and drags its feet: a hook gives up in time.

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

sockaddr_in local(in_port_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

int bound(int type, in_port_t port) {
  const int socket = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = local(port);
  EXPECT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  return socket;
}

int listening(in_port_t port) {
  const int socket = bound(SOCK_STREAM, port);
  EXPECT_EQ(listen(socket, 1), 0);
  return socket;
}

int connected_to_real_server() {
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{AF_UNIX, "/run/mysqld/mysqld.sock"};
  EXPECT_EQ(connect(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  return server;
}

std::string received(int socket) {
  std::string bytes(65'536, '\0');
  const ssize_t got = recv(socket, bytes.data(), bytes.size(), 0);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

void pass_on(int socket, const std::string& bytes) {
  send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

/// Sends a byte now and then for as long as the other side is there; at most for half a minute.
void trickle(int socket, const std::string& bytes, milliseconds pause) {
  const auto end = steady_clock::now() + seconds(30);
  for (std::size_t i = 0; steady_clock::now() < end; ++i) {
    if (send(socket, &bytes[i % bytes.size()], 1, MSG_NOSIGNAL) != 1) {
      return;
    }
    std::this_thread::sleep_for(pause);
  }
}

/// Serves the first connection to a port of 127.0.0.1 in a thread of its own.
class Server {
 public:
  Server(in_port_t port, std::function<void(int client)> serve)
      : listener_(listening(port)), thread_([this, serve = std::move(serve)] {
          const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
          if (client >= 0) {
            is_reached_ = true;
            serve(client);
            close(client);
          }
        }) {}
  ~Server() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Whether a client has come.
  bool is_reached() const { return is_reached_; }

 private:
  int listener_;
  std::atomic<bool> is_reached_ = false;
  std::thread thread_;
};

void greet_slowly(int client) {
  const int server = connected_to_real_server();
  trickle(client, received(server), milliseconds(500));
  close(server);
}

/// Says that it can do TLS, and then nothing more.
void stall_in_tls(int client) {
  const int server = connected_to_real_server();
  std::string greeting = received(server);
  constexpr std::size_t kHead = 5;             // of the packet, and the protocol
  constexpr std::size_t kToCapabilities = 14;  // behind the version's text
  greeting[greeting.find('\0', kHead) + kToCapabilities + 1] |= 0x08;
  pass_on(client, greeting);
  received(client);
  received(client);
  close(server);
}

/// Lets the client log in, and answers its first statement a byte at a time.
void answer_slowly(int client) {
  const int server = connected_to_real_server();
  pollfd sides[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
  while (poll(sides, 2, -1) > 0) {
    if (sides[1].revents != 0) {
      pass_on(client, received(server));
    }
    if (sides[0].revents != 0) {
      const std::string said = received(client);
      if (said.empty() || said.find("SET SESSION") != std::string::npos) {
        break;
      }
      pass_on(server, said);
    }
  }
  trickle(client, std::string("\xFF\xFF\0\1", 4), milliseconds(900));  // a long packet begins
  close(server);
}

class Deadline : public HookTest {
 protected:
  struct Hook {
    const char* weather;
    kit::Child process;
    seconds limit;
  };

  /// Starts a hook with these options, which it has read when `has_read` holds.
  void start(const char* weather, const std::string& options, seconds limit,
             const std::function<bool()>& has_read) {
    write_file("/etc/ap-run/database.cnf", "[client]\nprotocol=tcp\nuser=root\n" + options);
    hooks_.push_back({weather, start_hook({"ap-command", "10", "-", kMac}), limit});
    EXPECT_TRUE(eventually(has_read)) << weather;
  }

  std::vector<Hook> hooks_;
};

TEST_F(Deadline, IsKeptWhateverArrives) {
  const Server slow_greeting(4001, greet_slowly);
  const Server stalling(4002, stall_in_tls);
  const Server slow_answers(4003, answer_slowly);
  const int full = bound(SOCK_STREAM, 4004);
  listen(full, 0);
  std::vector<int> queued;
  for (int i = 0; i < 3; ++i) {  // the first few fill the queue; nobody accepts
    queued.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = local(4004);
    (void)connect(queued.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  const int silent_name_server = bound(SOCK_DGRAM, 53);  // where no /etc/resolv.conf says otherwise
  const std::string name_services = content("/etc/nsswitch.conf");
  write_file("/etc/nsswitch.conf", "hosts: files dns\n");

  const auto begin = steady_clock::now();
  start("a byte of the greeting per half second", "host=127.0.0.1\nport=4001\n", seconds(3),
        [&] { return slow_greeting.is_reached(); });
  start("TLS that is not taken up", "host=127.0.0.1\nport=4002\nssl\n", seconds(3),
        [&] { return stalling.is_reached(); });
  start("a byte of an answer per second", "host=127.0.0.1\nport=4003\n", seconds(10),
        [&] { return slow_answers.is_reached(); });
  // Of the other two no one hears; should one read the options of the other, it waits as long.
  const auto a_moment = [] {
    std::this_thread::sleep_for(milliseconds(300));
    return true;
  };
  start("a full backlog", "host=127.0.0.1\nport=4004\n", seconds(3), a_moment);
  start("a silent name server", "host=db.example.org\nport=4005\n", seconds(3), a_moment);
  for (const seconds limit : {seconds(3), seconds(10)}) {
    for (Hook& hook : hooks_) {
      if (hook.limit == limit) {
        EXPECT_EQ(hook.process.finish().status, 0) << hook.weather;
        const auto waited = steady_clock::now() - begin;
        EXPECT_LT(waited, limit + seconds(3)) << hook.weather;
        EXPECT_GT(waited, limit - seconds(1)) << hook.weather;
      }
    }
  }
  write_file("/etc/nsswitch.conf", name_services);
  close(silent_name_server);
  close(full);
  for (const int socket : queued) {
    close(socket);
  }
}

}  // namespace
