#pragma once

#include "building/play.h"

namespace lab {

/// What has happened so far, by deed.
std::map<Deed, int> count_deeds(const World& world);

/// Shows a play while it runs: at a terminal one block of lines that is written over and over, else
/// a line for a minute now and then.
class Progress {
 public:
  explicit Progress(bool terminal) : terminal_(terminal) {}
  void show(const Play& play);

 private:
  bool terminal_;
  int lines_ = 0;  // of the block on the screen
};

}  // namespace lab
