// lab-recorder: stands in for a program that would reach the outside (sendmail, iptables, ...). Run
// under any NAME, by a link of that name, it writes down how it was called:
//
//   /recorded/NAME              one line for each call: the arguments, separated by one blank. In
//                               an argument each blank, backslash and byte that is not printable
//                               ASCII is \xHH; an empty one is \e.
//   /recorded/NAME.descriptors  one line for each call: the open descriptors above 2 ("3 4"; an
//                               empty line if none), so that a caller that leaks descriptors is
//                               found out.
//   /recorded/NAME.stdin.N      only for sendmail, unless stdin is a terminal or closed: the whole
//                               standard input of one call, with N = 1, 2, 3, ... the first free
//                               number.
//
// The line in /recorded/NAME comes last: once it is there, the others can be read. A call is not
// recorded before its stdin ends.
//
// /recorded/NAME.behaviour, if it exists, tells what to do afterwards, a line each:
//   sleep SECONDS    wait (a decimal fraction is allowed)
//   exit STATUS      exit with this status instead of 0
//
// Exit status 125: the recorder itself failed, and said so on stderr.

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(std::string_view what) {
  std::fprintf(stderr, "lab-recorder: %.*s: %s\n", static_cast<int>(what.size()), what.data(),
               std::strerror(errno));
  std::exit(125);
}

std::string escaped(std::string_view argument) {
  if (argument.empty()) {
    return "\\e";
  }
  std::string text;
  for (const char c : argument) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte < 0x7f && byte != '\\') {
      text += c;
    } else {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02X", byte);
      text += hex;
    }
  }
  return text;
}

std::string open_descriptors() {
  // Walking the directory opens a descriptor of its own; those that are gone after the walk were
  // not the caller's.
  std::set<int> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    numbers.insert(std::stoi(entry.path().filename().string()));
  }
  std::string list;
  for (const int number : numbers) {
    if (number > STDERR_FILENO && fcntl(number, F_GETFD) != -1) {
      list += (list.empty() ? "" : " ") + std::to_string(number);
    }
  }
  return list;
}

// One write to an appending descriptor, so that the lines of calls at the same time do not mix.
void append_line(const std::string& path, const std::string& line) {
  const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (file == -1) {
    fail(path);
  }
  const std::string text = line + "\n";
  if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    fail(path);
  }
  close(file);
}

void copy_stdin(const std::string& path) {
  int file = -1;
  for (int n = 1; file == -1; ++n) {
    file = open((path + std::to_string(n)).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file == -1 && errno != EEXIST) {
      fail(path);
    }
  }
  char buffer[65536];
  for (;;) {
    const ssize_t size = read(STDIN_FILENO, buffer, sizeof buffer);
    if (size == 0) {
      break;
    }
    if (size == -1 || write(file, buffer, static_cast<std::size_t>(size)) != size) {
      fail(path);
    }
  }
  close(file);
}

int behave(const std::string& path) {
  std::ifstream behaviour(path);
  int status = 0;
  std::string verb;
  double value = 0;
  while (behaviour >> verb) {
    if (!(behaviour >> value) || (verb != "sleep" && verb != "exit")) {
      errno = EINVAL;
      fail(path);
    }
    if (verb == "sleep") {
      std::this_thread::sleep_for(std::chrono::duration<double>(value));
    } else {
      status = static_cast<int>(value);
    }
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string descriptors = open_descriptors();
  const std::string name = argc > 0 ? std::filesystem::path(argv[0]).filename().string() : "";
  const std::string recorded = "/recorded/" + (name.empty() ? "lab-recorder" : name);

  // Asked before a file of ours takes the number of a closed stdin.
  if (name == "sendmail" && fcntl(STDIN_FILENO, F_GETFD) != -1 && !isatty(STDIN_FILENO)) {
    copy_stdin(recorded + ".stdin.");
  }

  std::string line;
  for (int i = 1; i < argc; ++i) {
    line += (i > 1 ? " " : "") + escaped(argv[i]);
  }
  append_line(recorded + ".descriptors", descriptors);
  append_line(recorded, line);
  return behave(recorded + ".behaviour");
}
