#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <sstream>

#include "support/appliance.h"

// Checks docs/formats.md against the program: feeds its examples in, for which its tables have to
// be true.

namespace {

const std::string kAp = "00:00:5E:00:53:10";
const std::string kNeighbour = "00:00:5E:00:53:20";
const std::string kApAddress = "192.0.2.11";

std::string replaced(const std::string& text, const char* pattern, const char* by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

/// A row of a table of keys.
struct Key {
  std::regex section, name;  // of the lines that it is about
  std::string title, type, absent;
  bool first_join;  // the only one at which it is read
};

struct Chapter {
  std::vector<Key> keys;
  Lines rows;      // what the tables begin their rows with
  Lines examples;  // fenced blocks
};

/// The text between backticks with which a cell begins, if there is one.
std::optional<std::string> quoted(const std::string& cell) {
  std::smatch match;
  static const std::regex kQuoted("`([^`]*)`.*");
  return std::regex_match(cell, match, kQuoted) ? std::optional<std::string>(match[1])
                                                : std::nullopt;
}

/// The names of sections in a heading, as a pattern.
std::string sections_of(const std::string& heading) {
  std::string names;
  for (const std::string& word : lines_of(replaced(heading, "`", "\n"))) {
    if (word.starts_with('[')) {
      names += (names.empty() ? "" : "|") + replaced(word, R"([.\[\]])", R"(\$&)");
    }
  }
  return replaced(names, "NN|SS", "(?!00)[0-9][0-9]");
}

void add_row(Chapter& chapter, const std::string& sections, const std::string& line) {
  const Lines cells = lines_of(replaced(line.substr(2, line.size() - 4), R"( \| )", "\n"));
  const std::string name = *quoted(cells[0]);
  chapter.rows.push_back(name);
  if (!sections.empty()) {
    const std::string digits = replaced(replaced(name, "##", "(?!00)[0-9][0-9]"), "#", "[0-9]");
    chapter.keys.push_back({std::regex(sections), std::regex(digits), sections + " " + name,
                            cells[1], cells.back(), cells.at(3) == "first"});
  }
}

std::map<std::string, Chapter> read_document() {
  std::map<std::string, Chapter> chapters;
  std::string title, sections;
  bool in_example = false;
  for (const std::string& line : lines_of(content("/source/docs/formats.md"))) {
    if (line.starts_with("```")) {
      in_example = !in_example;
      if (in_example) {
        chapters[title].examples.emplace_back();
      }
    } else if (in_example) {
      chapters[title].examples.back() += line + "\n";
    } else if (line.starts_with("## ")) {
      title = line.substr(3);
      sections = "";
    } else if (line.starts_with("### ")) {
      sections = sections_of(line);
    } else if (line.starts_with("| `")) {
      add_row(chapters[title], sections, line);
    }
  }
  return chapters;
}

/// `text` with the values of the lines that a row is about changed, or without these lines.
using Change = std::function<std::optional<std::string>(const std::string& value)>;

std::string changed(const std::string& text, const Key& key, const Change& change, int most = -1) {
  static const std::regex kLine("(\\S.*?) *= *(.*)");
  std::string result, section;
  for (const std::string& line : lines_of(text)) {
    std::smatch match;
    if (line.starts_with('[')) {
      section = line;
    } else if (most != 0 && std::regex_match(section, key.section) &&
               std::regex_match(line, match, kLine) && std::regex_match(match[1].str(), key.name)) {
      --most;
      if (const std::optional<std::string> value = change(match[2])) {
        result += match[1].str() + " = " + *value + "\n";
      }
      continue;
    }
    result += line + "\n";
  }
  return result;
}

const Change kRemove = [](const std::string&) { return std::nullopt; };

class Formats : public HookTest {
 protected:
  /// What the program has stored and written, without the time of the day.
  static std::string state() {
    std::string all;
    for (const std::string& table : sql_rows(
             "SELECT CONCAT(TABLE_SCHEMA, '.', TABLE_NAME) FROM information_schema.TABLES WHERE "
             "TABLE_SCHEMA IN ('AP_INFO', 'AP_CLIENT', 'AP_POOR_CLIENT') ORDER BY 1")) {
      Lines rows = sql_rows("SELECT * FROM " + table);
      std::sort(rows.begin(), rows.end());
      for (const std::string& row : rows) {
        all += table + "|" + row + "\n";
      }
    }
    for (const char* folder : {"/database/ap/command", "/database/ap/support"}) {
      for (const std::string& name : names_in(folder)) {
        all += name + "\n" + without_time(content(folder + ("/" + name)));
      }
    }
    return replaced(all, (sql_value("SELECT CURDATE()") + " [0-9:]{8}").c_str(), "now");
  }

  /// What a file leaves behind, when an AP joins that is not known yet, or else.
  enum class Join { first, other };
  using Outcome = std::function<std::string(const std::string& text, Join join)>;

  /// Checks the tables of a chapter against its example.
  static void check(const Chapter& chapter, const Outcome& outcome) {
    const std::string& example = chapter.examples.at(0);
    const std::string at_first = outcome(example, Join::first);
    const std::string later = outcome(example, Join::other);
    std::string undocumented = example, without = example, with_default = example;
    std::string wrapped = example, wide = example, other = example;
    std::map<char, std::size_t> widths;  // of the letter that a key's value is made of
    for (const Key& key : chapter.keys) {
      const std::string rest = changed(example, key, kRemove);
      EXPECT_NE(rest, example) << key.title << " is in no example";
      if (key.first_join) {
        EXPECT_NE(outcome(rest, Join::first), at_first) << key.title << " has no effect";
        other = changed(other, key, kRemove);
      } else {
        EXPECT_NE(outcome(rest, Join::other), later) << key.title << " has no effect";
      }
      undocumented = changed(undocumented, key, kRemove);
      if (const std::optional<std::string> absent = quoted(key.absent)) {
        without = changed(without, key, kRemove);
        with_default =
            changed(with_default, key,
                    [&](const std::string&) -> std::optional<std::string> { return *absent; });
      }
      std::smatch type;
      static const std::regex kSized("(text|level|signed|unsigned) ([0-9]+)");
      if (!std::regex_match(key.type, type, kSized)) {
        continue;
      }
      const auto size = std::stoul(type[2]);
      if (type[1].str().ends_with("signed")) {
        wrapped = changed(wrapped, key, [&](const std::string& value) {
          return std::to_string(std::stoll(value) + (1LL << size));
        });
      } else {
        const char letter = static_cast<char>('z' - widths.size());
        widths[letter] = size;
        wide = changed(
            wide, key, [&](const std::string&) { return std::string(size + 1, letter); }, 1);
      }
    }
    EXPECT_EQ(undocumented.find('='), std::string::npos) << undocumented;
    EXPECT_EQ(outcome(other, Join::other), later) << "is read at every join";
    EXPECT_EQ(outcome(without, Join::first), outcome(with_default, Join::first));
    EXPECT_EQ(outcome(wrapped, Join::first), at_first);
    const std::string cut = outcome(wide, Join::first);
    for (const auto& [letter, width] : widths) {
      EXPECT_NE(cut.find(std::string(width, letter)), std::string::npos) << letter << wide;
      EXPECT_EQ(cut.find(std::string(width + 1, letter)), std::string::npos) << letter << wide;
    }
  }

  std::map<std::string, Chapter> document_ = read_document();
};

TEST_F(Formats, ReportsAreAsDocumented) {
  check(document_["Report files"], [this](const std::string& text, Join /*join*/) {
    SetUp();
    sql("INSERT INTO AP_INFO.ap_profile VALUES (1, 'Office'), (2, 'Guests; by day')");
    register_ap(1, kAp, "Lobby");
    EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(text), kApAddress, kAp}), 0);
    return state();
  });
}

TEST_F(Formats, CapabilityFilesAreAsDocumented) {
  check(document_["Capability files"], [this](const std::string& text, Join join) {
    SetUp();
    if (join == Join::other) {
      register_ap(1, kAp, "Lobby");
    }
    write_file("/database/ap/info/" + kAp, text);
    EXPECT_EQ(run_hook({"ap-up", kApAddress, kAp}), 0);
    return state();
  });
}

TEST_F(Formats, CommandLinesAreAsDocumented) {
  const Chapter& chapter = document_["Command lines"];
  std::string shown = chapter.examples.at(0);
  for (const std::string& row : chapter.rows) {
    const std::regex form(replaced(row, "[A-Z]{3,}", "\\S+"));
    EXPECT_TRUE(std::regex_search(shown, form)) << row << " is in no example";
  }
  trace_on(kAp);
  write_file("/database/ap/reports/lobby.ini", document_["Report files"].examples.at(0));
  write_file("/firmware/ap-2.2.0.bin", "");
  const auto effect = [] {
    wait_for_helpers();
    return state() + content("/recorded/wum");
  };
  for (const std::string& line : lines_of(shown)) {
    const Lines words = lines_of(replaced(line, " ", "\n"));
    const std::string before = effect();
    EXPECT_EQ(run_hook(words), 0) << line;
    EXPECT_EQ(effect() == before, words[0] == "ap-history") << line;
    std::filesystem::remove(slot_of(kAp));  // as the controller does
  }
  EXPECT_EQ(trace_of(kAp, "history").size(), 3U);
}

TEST_F(Formats, CommandFilesAreAsDocumented) {
  const Chapter& chapter = document_["Command files"];
  configure("[settings]\n1=8080\n79=1\n91=1\n135=2\n");
  write_file("/etc/sysconfig/.firewall/wireless_mac_filter.conf",
             "mac 02:00:5E:00:53:01\nmac 02:00:5E:00:53:02\n");
  sql("INSERT INTO AP_INFO.ap_profile VALUES (1, 'Office')");
  register_ap(1, kAp, "Lobby");
  register_ap(2, kNeighbour, "Canteen");
  const auto answer = [](const std::string& mac, const std::string& text) {
    EXPECT_EQ(run_hook({"ap-command", "1", deliver_report(text), kApAddress, mac}), 0);
    std::string command = content(slot_of(mac));
    std::filesystem::remove(slot_of(mac));
    return command;
  };
  const std::string own = "[01]\nAddress=00:00:5E:00:53:11\nESSID=Office\nFrequency=2.412 GHz\n";
  const std::string other = "[01]\nAddress=00:00:5E:00:53:21\nESSID=Office\nFrequency=2.437 GHz\n";
  const std::string hears = "[Cell 01]\nESSID=Office\nSignal=-60 dBm\nAddress=00:00:5E:00:53:";
  answer(kAp, own);
  answer(kNeighbour, other + hears + "11\nFrequency=2.412 GHz\n");
  sql("REPLACE INTO AP_CLIENT.block SET mac='BE:30:3A:F5:DA:ED', ssid=1, refer_ap_sn=1");
  std::string stations;
  const std::pair<const char*, const char*> macs[] = {{"36:2B:29:6C:B4:77", "RSSI=12\nIDLE=293\n"},
                                                      {"9A:2C:0C:49:C1:1F", "RSSI=46\n"},
                                                      {"02:00:5E:00:54:03", "RSSI=12\n"},
                                                      {"02:00:5E:00:54:04", "RSSI=12\n"}};
  for (std::size_t i = 0; i < std::size(macs); ++i) {
    stations += "[01 client 0" + std::to_string(i + 1) + "]\nADDR=" + macs[i].first +
                "\nCHAN=1\nRATE=65M\n" + macs[i].second;
  }
  std::string told = replaced(answer(kAp, own + stations + hears + "21\nFrequency=2.437 GHz\n"),
                              "time=.*", "time=1795391305");
  EXPECT_EQ(told, chapter.examples.at(0));

  write_file("/database/ap/support/" + kAp + ".update", "");
  write_file("/firmware/ap-2.2.0.bin", "");
  EXPECT_EQ(run_hook({"ap-command", "3", "/firmware/ap-2.2.0.bin", kAp}), 0);
  const std::string offered = content(slot_of(kAp) + ".update");
  EXPECT_EQ(offered, chapter.examples.at(1));
  for (const std::string& row : chapter.rows) {
    EXPECT_TRUE(std::regex_search(told + offered, std::regex(replaced(row, "#", "[0-9]") + "=")))
        << row << " is in no example";
  }
}

}  // namespace
