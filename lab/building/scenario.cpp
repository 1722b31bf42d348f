#include "building/scenario.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "building/text.h"

namespace lab {

namespace {

/// Decibels at 2.4 GHz.
const std::map<std::string, double, std::less<>> kMaterials{
    {"glass", 3}, {"plaster", 4}, {"brick", 8}, {"concrete", 14}};

using Numbers = std::vector<double>;

/// Takes the numbers that the words begin with; the words after them stay.
Numbers take_numbers(Words& words) {
  Numbers numbers;
  while (!words.empty()) {
    const auto number = number_in(words.front());
    if (!number) {
      break;
    }
    numbers.push_back(*number);
    words.erase(words.begin());
  }
  return numbers;
}

bool take_word(Words& words, std::string_view word) {
  const auto found = std::find(words.begin(), words.end(), word);
  if (found == words.end()) {
    return false;
  }
  words.erase(found);
  return true;
}

/// "6-14", or "6" for both ends.
bool read_range(const std::string& text, int (&range)[2]) {
  const Words ends = pieces_of(text, '-');
  const auto first = number_in(ends.front());
  const auto last = number_in(ends.back());
  if (ends.size() > 2 || !first || !last) {
    return false;
  }
  range[0] = static_cast<int>(*first);
  range[1] = static_cast<int>(*last);
  return range[0] <= range[1];
}

/// Takes back the escapes \n, \\ and \xHH.
std::string bytes_of(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      bytes += text[i];
    } else if (text[++i] == 'x' && i + 2 < text.size()) {
      unsigned byte = '?';
      std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16);
      bytes += static_cast<char>(byte);
      i += 2;
    } else {
      bytes += text[i] == 'n' ? '\n' : text[i];
    }
  }
  return bytes;
}

bool read_number(Scenario& scenario, const std::string& key, double number) {
  if (key == "seed") {
    scenario.seed = static_cast<std::uint64_t>(number);
  } else if (key == "minutes") {
    scenario.minutes = static_cast<int>(number);
  } else if (key == "exponent") {
    scenario.air.exponent = number;
  } else {
    return false;
  }
  return true;
}

bool read_building(Scenario& scenario, const std::string& key, const std::string& value) {
  Words words = words_of(value);
  const Numbers numbers = take_numbers(words);
  if (key == "title") {
    scenario.title = value;
  } else if (key == "about") {
    scenario.about += (scenario.about.empty() ? "" : " ") + value;
  } else if (key == "ssids") {
    for (const std::string& ssid : pieces_of(value, ',')) {
      scenario.ssids.push_back(bytes_of(ssid));
    }
    return scenario.ssids.size() <= 8;
  } else if (key == "size" && numbers.size() == 2) {
    scenario.width = numbers[0];
    scenario.height = numbers[1];
  } else if (key == "power" && numbers.size() == 2) {
    std::copy(numbers.begin(), numbers.end(), scenario.power);
  } else if (key == "entrance" && numbers.size() == 2) {
    scenario.entrance = {numbers[0], numbers[1]};
  } else {
    return numbers.size() == 1 && read_number(scenario, key, numbers[0]);
  }
  return true;
}

bool read_wall(Scenario& scenario, const std::string& material, const std::string& value) {
  Words words = words_of(value);
  const auto known = kMaterials.find(material);
  const Numbers corners = take_numbers(words);
  if (known == kMaterials.end() || corners.size() < 4 || corners.size() % 2 != 0) {
    return false;
  }
  for (std::size_t i = 0; i + 3 < corners.size(); i += 2) {
    scenario.air.walls.push_back(
        {{corners[i], corners[i + 1]}, {corners[i + 2], corners[i + 3]}, known->second});
    scenario.materials.push_back(material);
  }
  return true;
}

bool read_room(Scenario& scenario, const std::string& name, const std::string& value) {
  Words words = words_of(value);
  const Numbers box = take_numbers(words);
  const bool door_given = take_word(words, "door");
  const Numbers door = take_numbers(words);
  if (box.size() != 4 || door.size() != (door_given ? 2U : 0U)) {
    return false;
  }
  const Point middle{box[0] + box[2] / 2, box[1] + box[3] / 2};
  scenario.rooms.push_back(
      {name, {box[0], box[1]}, box[2], box[3], door_given ? Point{door[0], door[1]} : middle});
  return true;
}

/// Houses of two APs each, so far apart that an AP hears no other but its neighbour in the house.
bool read_fleet(Scenario& scenario, Words words) {
  static constexpr int kChannels[4][2] = {{1, 36}, {6, 44}, {11, 149}, {6, 157}};
  static constexpr double kHouse[] = {18, 10};  // metres
  const Numbers numbers = take_numbers(words);
  if (numbers.size() != 2) {
    return false;
  }
  const int houses = static_cast<int>(numbers[0]) / 2;
  const double spacing = numbers[1];
  const int columns = static_cast<int>(std::ceil(std::sqrt(houses)));
  for (int i = 0; i < houses; ++i) {
    const int row = i / columns;
    const Point corner{spacing * (0.5 + i % columns), spacing * (0.5 + row)};
    const double middle = corner.y + kHouse[1] / 2;
    scenario.rooms.push_back(
        {format("House %d", i + 1), corner, kHouse[0], kHouse[1], {corner.x, middle}});
    for (int side = 0; side < 2; ++side) {
      const auto& channel = kChannels[(2 * i + side) % 4];
      const Point at{corner.x + (side == 0 ? 4 : kHouse[0] - 4), middle};
      scenario.aps.push_back({format("House %d %s", i + 1, side == 0 ? "west" : "east"),
                              at,
                              {channel[0], channel[1]},
                              true,
                              true});
    }
  }
  scenario.width = spacing * (columns + 1);
  const int rows = (houses + columns - 1) / columns;
  scenario.height = spacing * (rows + 1);
  return true;
}

bool read_ap(Scenario& scenario, const std::string& name, const std::string& value) {
  Words words = words_of(value);
  if (name == "houses") {
    return read_fleet(scenario, words);
  }
  const Numbers at = take_numbers(words);
  if (at.size() != 2 || words.empty()) {
    return false;
  }
  const Words channels = pieces_of(words.front(), '/');
  words.erase(words.begin());
  ApPlan plan{name, {at[0], at[1]}, {0, 0}, !take_word(words, "wum"), !take_word(words, "off")};
  for (const Band band : kBands) {
    const auto index = static_cast<std::size_t>(number_of(band));
    const auto channel = index < channels.size() ? number_in(channels[index]) : std::nullopt;
    plan.channel[index] = static_cast<int>(channel.value_or(0));
    if (frequency(band, plan.channel[index]) == 0) {
      return false;
    }
  }
  const bool only = take_word(words, "only");
  for (const double slot : take_numbers(words)) {
    plan.slots.insert(static_cast<int>(slot));
  }
  scenario.aps.push_back(plan);
  return words.empty() && only != plan.slots.empty();
}

bool read_foreign(Scenario& scenario, const std::string& name, const std::string& value) {
  const std::size_t comma = value.find(',');
  Words words = words_of(value.substr(0, comma));
  const Numbers numbers = take_numbers(words);
  if (numbers.size() != 4 || comma == std::string::npos) {
    return false;
  }
  const std::string ssid(trimmed(value.substr(comma + 1)));
  scenario.foreign.push_back({name,
                              {numbers[0], numbers[1]},
                              static_cast<int>(numbers[2]),
                              numbers[3],
                              bytes_of(ssid),
                              ssid == "(random)"});
  return scenario.foreign.back().ssid.size() <= 32;
}

bool read_crowd(Scenario& scenario, const std::string& name, const std::string& value) {
  const Words pieces = pieces_of(value, ',');
  Words words = words_of(pieces[0]);
  const Numbers people = take_numbers(words);
  if (people.size() != 1 || words.empty()) {
    return false;
  }
  Crowd crowd;
  crowd.name = name;
  crowd.people = static_cast<int>(people[0]);
  const std::string place = pieces[0].substr(pieces[0].find(words[0]));
  const auto room = std::find_if(scenario.rooms.begin(), scenario.rooms.end(),
                                 [&](const Room& known) { return known.name == place; });
  if (place != "every room" && room == scenario.rooms.end()) {
    return false;
  }
  crowd.room = place == "every room" ? kEveryRoom : static_cast<int>(room - scenario.rooms.begin());
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    const std::size_t blank = pieces[i].find(' ');
    const std::string what = pieces[i].substr(0, blank);
    const std::string rest(trimmed(blank == std::string::npos ? "" : pieces[i].substr(blank)));
    const auto ssid = std::find(scenario.ssids.begin(), scenario.ssids.end(), bytes_of(rest));
    if (what == "on" && ssid != scenario.ssids.end()) {
      crowd.ssid = static_cast<int>(ssid - scenario.ssids.begin()) + 1;
    } else if (what == "wander" && number_in(rest)) {
      crowd.wander = *number_in(rest);
    } else if (!(what == "from" && read_range(rest, crowd.arrive)) &&
               !(what == "until" && read_range(rest, crowd.leave))) {
      return false;
    }
  }
  scenario.crowds.push_back(crowd);
  return true;
}

bool read_happening(Scenario& scenario, const std::string& key, const std::string& value) {
  Words words = words_of(value);
  const auto minute = number_in(key);
  if (!minute || words.size() < 2) {
    return false;
  }
  Happening happening{static_cast<int>(*minute), words[0], "", ""};
  std::size_t next = 1;
  if (words[0] == "firmware" && words.size() > 2) {
    happening.value = words[next++];
  } else if (words[0] == "filter" || words[0] == "setting") {
    happening.value = words[1] + (words.size() > 2 ? " " + words[2] : "");
    next = words.size();
  } else if (words[0] != "leave" && words[0] != "join" && words[0] != "reboot") {
    return false;
  }
  for (; next < words.size(); ++next) {
    happening.subject += (happening.subject.empty() ? "" : " ") + words[next];
  }
  scenario.happenings.push_back(happening);
  return true;
}

bool read_setting(Scenario& scenario, const std::string& key, const std::string& value) {
  const auto number = number_in(key);
  if (number) {
    scenario.settings[static_cast<int>(*number)] = value;
  }
  return number.has_value();
}

/// Readers of the lines of a section. Lines of a scenario have an order and may repeat a key, which
/// an INI dictionary forgets.
const std::map<std::string, bool (*)(Scenario&, const std::string&, const std::string&),
               std::less<>>
    kSections{{"building", read_building}, {"settings", read_setting}, {"walls", read_wall},
              {"rooms", read_room},        {"aps", read_ap},           {"foreign", read_foreign},
              {"people", read_crowd},      {"events", read_happening}};

}  // namespace

Scenario parse_scenario(const std::string& text, std::string& problem) {
  Scenario scenario;
  auto section = kSections.end();
  int number = 0;
  for (const std::string& line : lines_of(text)) {
    ++number;
    const std::string_view content = trimmed(line);
    const std::size_t equals = content.find('=');
    if (content.empty() || content.front() == ';') {
      continue;
    }
    if (content.front() == '[' && content.back() == ']') {
      section = kSections.find(content.substr(1, content.size() - 2));
    } else if (section == kSections.end() || equals == std::string_view::npos ||
               !section->second(scenario, std::string(trimmed(content.substr(0, equals))),
                                std::string(trimmed(content.substr(equals + 1))))) {
      problem += format("line %d is not understood: %s\n", number, line.c_str());
    }
  }
  if (scenario.aps.empty() || scenario.ssids.empty()) {
    problem += "a building needs [aps] and the ssids they carry\n";
  }
  return scenario;
}

}  // namespace lab
