#include "steering/choice.h"

#include <algorithm>

#include "platform/text.h"

void NumberedLines::add(const std::string& value) {
  text_ = my_string(std::move(text_), "%s%d=%s\n", key_, count_++, value.c_str());
}

std::vector<std::size_t> choose_blocks(std::span<const BlockCandidate> candidates, int limit) {
  std::vector<std::size_t> chosen;
  for (std::size_t i = 0; i < candidates.size() && static_cast<int>(chosen.size()) < limit; ++i) {
    if (candidates[i].alternatives > 0 && !candidates[i].refused) {
      chosen.push_back(i);
    }
  }
  return chosen;
}

std::optional<int> serving_neighbour(std::span<const int> neighbours,
                                     const std::function<bool(int ap)>& serves) {
  const auto found = std::find_if(neighbours.begin(), neighbours.end(), serves);
  return found == neighbours.end() ? std::nullopt : std::optional<int>(*found);
}

bool must_release_all(std::size_t ssids,
                      const std::function<std::optional<std::uint64_t>(std::size_t)>& hearing,
                      const std::function<bool(std::size_t)>& holds_blocks) {
  for (std::size_t i = 0; i < ssids; ++i) {
    if (hearing(i) == 0U && holds_blocks(i)) {
      return true;
    }
  }
  return false;
}

PowerStep power_step(const Hearing& hearing) {
  if (hearing.strongly > 0) {
    return PowerStep::down;
  }
  return hearing.at_all > 0 && hearing.weakly == hearing.at_all ? PowerStep::up : PowerStep::none;
}
