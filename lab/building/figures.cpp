#include "building/figures.h"

#include <algorithm>
#include <numeric>

#include "building/progress.h"

namespace lab {

namespace {

constexpr int kReturnsWithin = 10;  // minutes

double mean(const std::vector<double>& numbers) {
  return numbers.empty() ? 0
                         : std::accumulate(numbers.begin(), numbers.end(), 0.0) /
                               static_cast<double>(numbers.size());
}

/// The number below which so many of a hundred numbers lie; for 100, the largest.
double percentile(std::vector<double>& numbers, std::size_t percent) {
  std::sort(numbers.begin(), numbers.end());
  return numbers.empty() ? 0
                         : numbers[std::min(numbers.size() * percent / 100, numbers.size() - 1)];
}

std::vector<Figure> figures_of(const Play& play) {
  std::vector<double> fair;     // in each minute
  std::vector<double> fullest;  // likewise
  std::vector<double> shares;   // of each station in each minute, Mb/s
  int without = 0;
  for (const Sample& sample : play.samples()) {
    std::vector<int> clients;
    for (const Sample::Ap& ap : sample.aps) {
      if (ap.up) {
        clients.push_back(ap.clients[0] + ap.clients[1]);
      }
    }
    for (const Sample::Person& person : sample.people) {
      without += person.ap == -1 ? 1 : 0;
      if (person.ap >= 0) {
        const Sample::Ap& ap = sample.aps[static_cast<std::size_t>(person.ap)];
        shares.push_back(1.0 * person.rate / ap.clients[person.five_ghz ? 1 : 0]);
      }
    }
    if (!clients.empty()) {
      fair.push_back(fairness(clients));
      fullest.push_back(*std::max_element(clients.begin(), clients.end()));
    }
  }
  std::map<Deed, int> deeds = count_deeds(play.world());
  const Roaming roaming = roaming_of(play.world().changes());
  const double people = std::max(1.0, static_cast<double>(play.world().stations().size()));
  return {{"fairness of stations per AP, mean", 2, {mean(fair)}},
          {"stations at the fullest AP, mean", 1, {mean(fullest)}},
          {"stations at the fullest AP, at most", 0, {percentile(fullest, 100)}},
          {"Mb/s if all are busy, median", 1, {percentile(shares, 50)}},
          {"Mb/s if all are busy, slowest tenth", 1, {percentile(shares, 10)}},
          {"kicks for each station", 1, {deeds[Deed::kick] / people}},
          {"blocks for each station", 1, {deeds[Deed::block] / people}},
          {"moves to another AP, each station", 1, {roaming.moves / people}},
          {"returns to an AP within ten minutes", 0, {1.0 * roaming.returns}},
          {"minutes without an AP, all stations", 0, {1.0 * without}}};
}

}  // namespace

double fairness(const std::vector<int>& shares) {
  const double sum = std::accumulate(shares.begin(), shares.end(), 0.0);
  const double squares = std::inner_product(shares.begin(), shares.end(), shares.begin(), 0.0);
  return squares == 0 ? 1 : sum * sum / (static_cast<double>(shares.size()) * squares);
}

Roaming roaming_of(const std::vector<Change>& changes) {
  struct Past {
    int ap = -1;              // that it uses
    int last = -1;            // the last that it used
    std::map<int, int> left;  // the minute at which it left an AP
  };
  std::map<int, Past> stations;
  Roaming roaming;
  for (const Change& change : changes) {
    Past& past = stations[change.station];
    if (past.ap >= 0) {
      past.left[past.ap] = change.minute;
    }
    past.ap = change.ap;
    if (change.ap < 0) {
      continue;
    }
    const auto left = past.left.find(change.ap);
    const bool returns = left != past.left.end() && change.minute - left->second <= kReturnsWithin;
    roaming.returns += returns ? 1 : 0;
    roaming.moves += past.last >= 0 && past.last != change.ap ? 1 : 0;
    past.last = change.ap;
  }
  return roaming;
}

std::vector<Figure> figures_of(const Play& play, const Play* unsteered) {
  std::vector<Figure> figures = figures_of(unsteered == nullptr ? play : *unsteered);
  if (unsteered != nullptr) {
    const std::vector<Figure> steered = figures_of(play);
    for (std::size_t i = 0; i < figures.size(); ++i) {
      figures[i].values.push_back(steered[i].values.front());
    }
  }
  return figures;
}

std::string table_of(const Play& play, const Play* unsteered) {
  std::string text =
      unsteered == nullptr ? "" : format("%-38s %7s %7s\n", "load balancing", "off", "on");
  for (const Figure& figure : figures_of(play, unsteered)) {
    text += format("%-38s", figure.what.c_str());
    for (const double value : figure.values) {
      text += format(" %7.*f", figure.decimals, value);
    }
    text += "\n";
  }
  return text;
}

}  // namespace lab
