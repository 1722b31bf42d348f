#include "show/ap_list.h"

namespace show {

namespace {

const std::vector<Column> kColumns{{"number", "AP", Unit::count, 5},
                                   {"name", "NAME"},
                                   {"mac", "MAC", Unit::text, 8},
                                   {"address", "ADDRESS", Unit::text, 7},
                                   {"state", "STATE"},
                                   {"state_age", "FOR", Unit::age, 3},
                                   {"report_age", "REPORT", Unit::age},
                                   {"stations_24", "2.4 GHZ", Unit::count},
                                   {"stations_5", "5 GHZ", Unit::count},
                                   {"refused", "REFUSED", Unit::count, 1},
                                   {"firmware", "FIRMWARE", Unit::text, 6},
                                   {"pending", "PENDING", Unit::text, 2},
                                   {"commands", "COMMANDS", Unit::count, 1},
                                   {"command_age", "OLDEST", Unit::age, 4},
                                   {"problems", "ODD"}};

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += (all.empty() ? "" : ", ") + text;
  }
  return all;
}

Tone tone_of(State state) {
  switch (state) {
    case State::connected:
      return Tone::good;
    case State::updating:
    case State::rebooting:
      return Tone::odd;
    case State::gone:
      break;
  }
  return Tone::faint;
}

Record record_of(const ApState& ap, std::int64_t period) {
  return {std::int64_t{ap.sn},
          ap.label(),
          ap.mac,
          ap.ip,
          {state_name(ap.state), tone_of(ap.state)},
          ap.state_age,
          ap.report_age,
          ap.two_four_ghz,
          ap.five_ghz,
          ap.refused,
          ap.firmware,
          ap.pending,
          ap.commands,
          ap.command_age,
          {joined(problems_of(ap, period)), Tone::odd}};
}

}  // namespace

Section ap_section(const ApState& ap, std::int64_t period) {
  return {"ap", "", Layout::single, kColumns, {record_of(ap, period)}};
}

View ap_list(const Site& site, const ListWish& wish) {
  Section list{"aps", "", Layout::table, kColumns, {}};
  for (const ApState& ap : site.aps()) {
    if (!wish.problems_only || !problems_of(ap, wish.period).empty()) {
      list.records.push_back(record_of(ap, wish.period));
    }
  }
  if (!sort_by(list, wish.sort)) {
    std::string keys;
    for (const Column& column : kColumns) {
      keys += std::string(" ") + column.key;
    }
    throw Unavailable("no column " + wish.sort + " to sort by; there are" + keys);
  }
  return {std::move(list)};
}

}  // namespace show
