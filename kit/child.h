#pragma once

#include <sys/time.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>

#include "kit/text.h"

namespace kit {

/// How a child process ended and what it took, from its start until it was gone.
struct Usage {
  int status;           // its exit status, or 128 and the signal that ended it
  double wall_ms;       // until finish() saw the end
  double processor_ms;  // user and system, with the children that it waited for
  double peak_kib;      // largest resident set; the kernel counts that of the starting process in
};

double milliseconds(const timeval& time);

/// Counts from its construction.
class Stopwatch {
 public:
  double ms() const {
    return std::chrono::duration<double, std::milli>(Clock::now() - start_).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};

/// A program to start. Descriptors stay the caller's; the program gets none but the standard ones.
struct Program {
  std::string path;   // without a slash: looked for in PATH
  Words words;        // its arguments, beginning with its name
  Words environment;  // "NAME=value", in front of the variables of this process
  int input = -1;     // what it reads; -1: nothing
  int output = -1;    // where standard output and standard error output go; -1: where ours do
};

/// A child process. One that has not been waited for is killed with its object.
class Child {
 public:
  /// Starts a program. Throws std::system_error when it cannot be started.
  explicit Child(const Program& program);

  /// Runs `body` in a copy of this process, which ends with what `body` returns.
  explicit Child(const std::function<int()>& body);

  ~Child();
  Child(Child&& other) noexcept;
  Child& operator=(Child&& other) noexcept;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Its process id, known after its end, too.
  pid_t id() const { return id_; }

  /// Whether it has not ended yet.
  bool runs() const;

  /// Waits for the end; to be called once.
  Usage finish();

 private:
  Stopwatch watch_;
  pid_t id_ = 0;
  bool over_ = false;  // waited for, or another object's now
};

/// Starts the program words[0] and waits for it.
Usage run(const Words& words);

struct Output {
  int status;
  std::string text;  // of standard output and standard error output
};

/// Starts the program words[0], waits for it and keeps what it says.
Output output_of(const Words& words);

/// A pipe whose ends are closed with it; no child inherits them.
class Pipe {
 public:
  Pipe();
  ~Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int read_end() const { return ends_[0]; }
  int write_end() const { return ends_[1]; }

  void close_write_end();

  /// Closes the write end and reads what comes until all copies of it are closed.
  std::string rest();

 private:
  int ends_[2] = {-1, -1};
};

}  // namespace kit
