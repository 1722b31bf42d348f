#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The decisions of steering, apart from the database. Where a fact costs a query, the decision is
// given a function that fetches it and calls that only for what the answer depends on.

/// Command lines "<key><number>=<value>", numbered from 0 without gaps.
class NumberedLines {
 public:
  explicit NumberedLines(const char* key) : key_(key) {}

  void add(const std::string& value);

  int count() const { return count_; }
  const std::string& text() const { return text_; }

 private:
  const char* key_;
  int count_ = 0;
  std::string text_;
};

/// What is known of a station that could be refused.
struct BlockCandidate {
  std::size_t alternatives = 0;  // radios of other APs that would serve it as well
  bool refused = false;          // by any AP, already
};

/// Which of the candidates, the most suitable first, to refuse: at most `limit` of those that have
/// an alternative and are not refused. Positions in `candidates`, ascending.
std::vector<std::size_t> choose_blocks(std::span<const BlockCandidate> candidates, int limit);

/// The first of `neighbours` (serial numbers of APs) that serves a refused station; none means that
/// it may come back. Neighbours behind the first are not asked.
std::optional<int> serving_neighbour(std::span<const int> neighbours,
                                     const std::function<bool(int ap)>& serves);

/// Whether an AP must give up all its blocks: one of its `ssids` SSIDs is out of everybody's
/// hearing while it holds blocks for it. `hearing` tells how many radios hear, or are heard on, an
/// SSID, none when that is not known; `holds_blocks` is asked for SSIDs out of hearing only. The
/// first such SSID ends the search.
bool must_release_all(std::size_t ssids,
                      const std::function<std::optional<std::uint64_t>(std::size_t)>& hearing,
                      const std::function<bool(std::size_t)>& holds_blocks);

/// How well the other APs hear an AP: whether rows of that kind exist (the number of groups, 0 or
/// 1).
struct Hearing {
  std::uint64_t strongly = 0;  // above the level
  std::uint64_t at_all = 0;
  std::uint64_t weakly = 0;  // below the level
};

/// What an AP is told to do with its radio power.
enum class PowerStep { none, down, up };

/// Down for an AP that somebody hears strongly, up for one that is heard and only weakly.
PowerStep power_step(const Hearing& hearing);
