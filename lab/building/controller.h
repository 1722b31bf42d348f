#pragma once

#include <map>
#include <string>
#include <vector>

#include "building/text.h"

// The stand-in for the controller daemon: starts hooks as the daemon does, a few at a time, takes
// the command files that appear meanwhile, and measures.

namespace lab {

struct Hook {
  Words words;  // the program's name and its arguments
  int ap = -1;
};

struct HookRun {
  std::string name;  // "ap-up", ..., with the type: "ap-command 1"
  int ap = -1;
  int minute = 0;
  double milliseconds = 0;  // from start to end, by the clock on the wall
  double processor = 0;     // milliseconds, of it and the processes it waited for
  int peak_kib = 0;
};

/// A command that the daemon has taken out of a slot.
struct Delivery {
  std::string mac;
  std::string text;
};

class Controller {
 public:
  explicit Controller(int parallel);
  ~Controller();
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  /// From now on writes what it starts into files of this directory, which has to exist, to be played
  /// again elsewhere: NUMBER.event has a line "MINUTE WAVE AP" (hooks of one wave run at once), a line
  /// with the path of the file that the hook reads, and the words, one a line; NUMBER.input is a copy
  /// of that file.
  void record_to(const std::string& directory) { recorded_ = directory; }

  /// Records a hook as run() does; words that begin with "sql" are a statement.
  void record(const Hook& hook, int minute);

  /// Commands are taken only for connected APs; those of others wait in their slots.
  void connect(const std::string& mac) { connected_[mac] = true; }
  void disconnect(const std::string& mac) { connected_.erase(mac); }

  /// Starts the hooks in this order, at most `parallel` at a time, and returns when all have ended.
  void run(const std::vector<Hook>& hooks, int minute);

  /// The commands taken since the last call, in the order in which each AP's appeared.
  std::vector<Delivery> deliveries();

  const std::vector<HookRun>& runs() const { return runs_; }

 private:
  struct Running;
  Running start(const Hook& hook) const;
  void finish(Running& running, int minute);
  void take_commands();

  std::size_t parallel_;
  int watch_;  // of the command directory
  int said_;   // the file that hooks print to
  std::map<std::string, bool> connected_;
  std::vector<Delivery> taken_;
  std::vector<HookRun> runs_;
  std::string recorded_;  // empty: nothing is recorded
  int waves_ = 0;
  int events_ = 0;
};

}  // namespace lab
