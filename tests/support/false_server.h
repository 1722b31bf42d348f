#pragma once

#include <netinet/in.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

// Takes the place of a database server, on a port of 127.0.0.1, and is slow or silent.

/// A socket that is bound to a port of 127.0.0.1, to be closed by the caller; -1 if the port cannot
/// be had.
int bound(int type, in_port_t port);

sockaddr_in local(in_port_t port);

/// Serves one client after the other in a thread of its own.
class FalseServer {
 public:
  FalseServer(in_port_t port, std::function<void(int client)> serve);
  ~FalseServer();
  FalseServer(const FalseServer&) = delete;
  FalseServer& operator=(const FalseServer&) = delete;

  /// Whether a client has come.
  bool is_reached() const { return is_reached_; }

 private:
  int listener_;
  std::atomic<bool> is_reached_ = false;
  std::thread thread_;
};

/// Sends the real server's greeting, a byte each half second.
void greet_slowly(int client);

/// Says that it can do TLS, and then nothing more.
void stall_in_tls(int client);

/// Lets the client log in, and answers its first statement a byte at a time.
void answer_slowly(int client);
