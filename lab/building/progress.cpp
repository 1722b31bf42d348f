#include "building/progress.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

namespace lab {

namespace {

constexpr std::size_t kShownAps = 16;
constexpr int kBar = 32;  // characters at most

int clients_of(const Sample::Ap& ap) {
  return ap.clients[0] + ap.clients[1];
}

std::string headline(const Play& play) {
  const Sample& now = play.samples().back();
  const auto up =
      std::count_if(now.aps.begin(), now.aps.end(), [](const auto& ap) { return ap.up; });
  const auto inside = std::count_if(now.people.begin(), now.people.end(),
                                    [](const auto& person) { return person.ap > -2; });
  const auto served = std::count_if(now.people.begin(), now.people.end(),
                                    [](const auto& person) { return person.ap >= 0; });
  std::map<Deed, int> deeds = count_deeds(play.world());
  // Narrower than any terminal: a line that wraps could not be written over.
  return format("minute %2d/%d  APs %d/%d  stations %d/%d  kicks %d  blocks %d  releases %d",
                play.world().minute(), play.world().scenario().minutes, static_cast<int>(up),
                static_cast<int>(now.aps.size()), static_cast<int>(served),
                static_cast<int>(inside), deeds[Deed::kick], deeds[Deed::block],
                deeds[Deed::release]);
}

std::string ap_lines(const Play& play) {
  const Sample& now = play.samples().back();
  std::vector<std::size_t> shown(now.aps.size());
  std::iota(shown.begin(), shown.end(), 0U);
  if (shown.size() > kShownAps) {  // those with the most stations
    std::stable_sort(shown.begin(), shown.end(), [&](std::size_t a, std::size_t b) {
      return clients_of(now.aps[a]) > clients_of(now.aps[b]);
    });
    shown.resize(kShownAps);
  }
  std::string text;
  for (const std::size_t number : shown) {
    const Sample::Ap& state = now.aps[number];
    const int clients = clients_of(state);
    const int bar = std::min(clients, kBar);
    std::string line =
        format("  %-18.18s %3d  ", play.world().aps()[number].plan.name.c_str(), clients);
    for (int i = 0; i < bar; ++i) {
      line += i < std::min(state.clients[0], bar) ? "▒" : "█";
    }
    line.append(static_cast<std::size_t>(kBar - bar), ' ');
    line += state.up ? format("  %2d dBm", state.power) : "  down  ";
    line += state.refused > 0 ? format("  refuses %d", state.refused) : "";
    text += line + "\n";
  }
  if (now.aps.size() > shown.size()) {
    text += format("  and %d more APs\n", static_cast<int>(now.aps.size() - shown.size()));
  }
  return text;
}

}  // namespace

std::map<Deed, int> count_deeds(const World& world) {
  std::map<Deed, int> counts;
  for (const Occurrence& occurrence : world.occurrences()) {
    ++counts[occurrence.deed];
  }
  return counts;
}

void Progress::show(const Play& play) {
  const int minute = play.world().minute();
  if (!terminal_) {
    if (minute % 10 == 0 || minute == 1 || minute == play.world().scenario().minutes) {
      std::printf("%s\n", headline(play).c_str());
      std::fflush(stdout);
    }
    return;
  }
  const std::string block =
      headline(play) + "\n" + ap_lines(play) + "  ▒ 2.4 GHz  █ 5 GHz, a station each\n";
  if (lines_ > 0) {
    std::printf("\x1b[%dA", lines_);
  }
  for (const std::string& line : lines_of(block)) {
    std::printf("\x1b[2K%s\n", line.c_str());
  }
  lines_ = static_cast<int>(std::count(block.begin(), block.end(), '\n'));
  std::fflush(stdout);
}

}  // namespace lab
