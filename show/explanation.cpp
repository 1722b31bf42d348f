#include "show/explanation.h"

#include "platform/text.h"
#include "steering/limits.h"
#include "values/visible_text.h"

namespace show {

namespace {

using Lines = std::vector<std::string>;

std::string name_of(int sn, const Names& names) {
  const auto named = names.find(sn);
  return named == names.end() ? M("AP_%03d", sn) : visible_text(named->second);
}

void explain_blocks(const Findings& found, const Names& names, Lines& lines) {
  for (const auto& [profile, mac, keeper] : found.blocks) {
    const std::string station = visible_text(mac);
    if (!keeper) {
      lines.push_back(M("stays blocked: %s, profile %d has no SSID", station.c_str(), profile));
    } else if (*keeper != 0) {
      lines.push_back(
          M("stays blocked: %s is now at %s", station.c_str(), name_of(*keeper, names).c_str()));
    } else {
      lines.push_back(M("release %s: no AP heard on its SSID serves it any more", station.c_str()));
    }
  }
}

/// How many of the stations of a crowded AP may go, and why.
void explain_demand(const Findings& found, const Names& names, Lines& lines) {
  const Demand& demand = *found.demand;
  std::string line =
      M("serves %d, %d above %d; ", *found.amount, demand.users, limits::kClientQuota);
  if (found.neighbours.empty()) {
    lines.push_back(line + "it hears no AP that could take some");
    return;
  }
  std::string served;
  for (const auto& [sn, clients] : found.neighbours) {
    served += (served.empty() ? "" : ", ") +
              (sn == 0 ? M("%d", clients) : M("%d at %s", clients, name_of(sn, names).c_str()));
  }
  lines.push_back(line + "the APs it hears serve " + served + " and have room for " +
                  M("%d", demand.avail));
  if (demand.fits()) {
    lines.push_back(M("enough room: up to %d may move", demand.users));
    return;
  }
  const Share share = share_of(demand);
  lines.push_back(M("even share: %d = (users:%d + diff:%d) / (aps:%d + 1)%s", share.max,
                    demand.users, demand.diff, demand.aps,
                    share.max == share.avg ? "" : ", rounded up"));
  lines.push_back(
      stations_to_move(demand) > 0
          ? M("up to %d may move: %d - %d", stations_to_move(demand), demand.users, share.max)
          : "its surplus is not above its share: nobody has to go");
}

void explain_choice(const Findings& found, const Names& names, Lines& lines) {
  for (const auto& [mac, idle] : found.kicks) {
    lines.push_back(M("kick    %s: idle for %d s, more than %d", visible_text(mac).c_str(), idle,
                      limits::kIdle));
  }
  for (const auto& [mac, link, taker, fate] : found.candidates) {
    const std::string heard =
        M("%s is heard above %d dBm on its SSID and band",
          taker == 0 ? "another AP" : name_of(taker, names).c_str(), limits::kNeighbourSignal);
    const std::string station =
        M("%s: RSSI %d, above %d, ", visible_text(mac).c_str(), link, limits::kLink);
    switch (fate) {
      case Findings::Fate::refused:
        lines.push_back(M("block   %s%s", station.c_str(), heard.c_str()));
        break;
      case Findings::Fate::refused_already:
        lines.push_back(
            M("stays   %s%s, but an AP refuses it already", station.c_str(), heard.c_str()));
        break;
      case Findings::Fate::no_neighbour:
        lines.push_back(M("stays   %sbut no AP is heard above %d dBm on its SSID and band",
                          station.c_str(), limits::kNeighbourSignal));
        break;
    }
  }
}

void explain_balancing(const Findings& found, const Names& names, Lines& lines) {
  if (!found.amount) {
    lines.emplace_back("load balancing was not asked");
    return;
  }
  if (found.demand) {
    explain_demand(found, names, lines);
  } else {
    lines.push_back(
        M("serves %d: not more than %d, nobody has to go", *found.amount, limits::kClientQuota));
  }
  explain_choice(found, names, lines);
  if (!found.release_all) {
    return;
  }
  const std::string ssid = visible_text(found.lost_ssid.value_or(""));
  if (!found.lost_ssid) {
    lines.emplace_back("one client only: all its blocks are lifted");
  } else if (found.is_heard_by_nobody) {
    lines.push_back(
        M("no AP hears it on %s, for which it holds blocks: all are lifted", ssid.c_str()));
  } else {
    lines.push_back(
        M("it hears no AP above %d dBm on %s, for which it holds blocks: all are lifted",
          limits::kKeepSignal, ssid.c_str()));
  }
}

void explain_power(const Findings& found, Lines& lines) {
  if (!found.hearing) {
    lines.emplace_back("auto-RF is off");
    return;
  }
  switch (power_step(*found.hearing)) {
    case PowerStep::down:
      lines.push_back(M("power down: another AP hears it above %d dBm", limits::kAutoRfSignal));
      break;
    case PowerStep::up:
      lines.push_back(
          M("power up: the APs that hear it do so below %d dBm", limits::kAutoRfSignal));
      break;
    case PowerStep::none:
      lines.push_back(!found.hearing->at_all
                          ? "power stays: nobody hears it"
                          : M("power stays: it is heard at %d dBm, not above and not below",
                              limits::kAutoRfSignal));
      break;
  }
}

}  // namespace

std::vector<std::string> explain(const Findings& found, const Names& names) {
  Lines lines;
  explain_blocks(found, names, lines);
  explain_balancing(found, names, lines);
  explain_power(found, lines);
  return lines;
}

}  // namespace show
