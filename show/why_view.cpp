#include "show/why_view.h"

#include <algorithm>
#include <map>

#include "platform/text.h"
#include "show/explanation.h"
#include "show/forecast.h"
#include "steering/limits.h"
#include "values/split.h"

namespace show {

namespace {

Section lines_section(const char* key, const char* title, const std::vector<std::string>& lines) {
  Section section{key, title, Layout::lines, {{"line", ""}}, {}};
  for (const std::string& line : lines) {
    section.records.push_back({line});
  }
  return section;
}

/// What the rules make of a station that they have looked at.
std::map<std::string, Cell> verdicts(const Site& site, const Findings& found) {
  std::map<std::string, Cell> verdicts;
  for (const Findings::Candidate& candidate : found.candidates) {
    const std::string taker = site.label(candidate.taker);
    switch (candidate.fate) {
      case Findings::Fate::refused:
        verdicts[candidate.mac] = {"is refused: " + taker + " would take it", Tone::odd};
        break;
      case Findings::Fate::refused_already:
        verdicts[candidate.mac] = {"stays: " + taker +
                                   " would take it, but an AP refuses it already"};
        break;
      case Findings::Fate::no_neighbour:
        verdicts[candidate.mac] = {
            M("stays: no AP is heard above %d dBm on its SSID and band", limits::kNeighbourSignal)};
        break;
    }
  }
  for (const Findings::Kick& kick : found.kicks) {
    verdicts[kick.mac] = {M("is disconnected: idle for more than %d s", limits::kIdle), Tone::odd};
  }
  return verdicts;
}

/// Why a station stays that no rule has looked at.
Cell unasked(const Findings& found, Age link) {
  if (!found.amount) {
    return {"stays: load balancing is off", Tone::faint};
  }
  if (!found.demand || stations_to_move(*found.demand) <= 0) {
    return {"stays: nobody has to go", Tone::faint};
  }
  return link > limits::kLink ? Cell{"stays: enough others go"}
                              : Cell{M("stays: its link is not above %d", limits::kLink)};
}

/// The stations of the AP, the best link first, as the rules take them.
Section stations(Site& site, int sn, const Findings& found) {
  Section section{"stations",
                  "Stations",
                  Layout::table,
                  {{"mac", "STATION"},
                   {"link", "LINK", Unit::count},
                   {"idle", "IDLE", Unit::age},
                   {"decision", "DECISION"}},
                  {}};
  if (!has_table(site.db(), AP_CLIENT, sn)) {
    return section;
  }
  const std::map<std::string, Cell> known = verdicts(site, found);
  for (const Row& row :
       ask(site.db(),
           "SELECT `mac`, `rssi`, `idle` FROM `%s`.`AP_%03d` ORDER BY `rssi` DESC, "
           "`idle` DESC",
           AP_CLIENT, sn)) {
    const auto verdict = known.find(row.text(0));
    const Age link = number_in(row, 1);
    section.records.push_back({row.text(0), link, age_in(row, 2),
                               verdict == known.end() ? unasked(found, link) : verdict->second});
  }
  return section;
}

}  // namespace

View why_view(Site& site, const ApState& state) {
  Ap ap(state.mac, {"nothing shown", Remedy::none});
  const std::optional<Forecast> coming = forecast(ap);
  if (!coming) {
    throw Unavailable("the database was lost meanwhile: " + my_mysql_refusal().text);
  }
  Names names;
  for (const ApState& other : site.aps()) {
    names[other.sn] = other.label();
  }
  std::vector<std::string> command;
  if (coming->found.release_all) {
    command.emplace_back(kReleaseAllFirst);
  }
  for (const std::string_view line : str_split(coming->lines, '\n', coming->lines.size())) {
    if (!line.empty()) {
      command.emplace_back(line);
    }
  }
  return {{"ap",
           "",
           Layout::single,
           {{"name", "AP"}, {"report_age", "REPORT", Unit::age}},
           {{state.label(), state.report_age}}},
          lines_section("why", "What its next report would decide, were it the same as the last",
                        explain(coming->found, names)),
          stations(site, state.sn, coming->found),
          lines_section("command", "What the AP would be told", command)};
}

}  // namespace show
