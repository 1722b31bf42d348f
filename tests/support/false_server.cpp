#include "support/false_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

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

}  // namespace

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
  if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(socket);
    return -1;
  }
  return socket;
}

FalseServer::FalseServer(in_port_t port, std::function<void(int client)> serve)
    : listener_(listening(port)), thread_([this, serve = std::move(serve)] {
        int client = -1;
        while ((client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
          is_reached_ = true;
          serve(client);
          close(client);
        }
      }) {}

FalseServer::~FalseServer() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void greet_slowly(int client) {
  const int server = connected_to_real_server();
  trickle(client, received(server), milliseconds(500));
  close(server);
}

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
