#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "kit/report_text.h"
#include "support/appliance.h"

namespace {

using nlohmann::json;
using std::chrono::seconds;

kit::Output show(Words words) {
  words.insert(words.begin(), "ap-show");
  return kit::output_of(words);
}

const std::string kAnn = "02:00:00:00:00:0A";
const std::string kBob = "02:00:00:00:00:0B";
const Words kOthers{"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03"};

/// Two APs that hear each other: Door (1) refuses Ann and Bob, who have gone to Hall (2), and Bob
/// from there home. All of it comes from reports; times are set back by 200 seconds.
class Show : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    configure("[settings]\n79 = 1\n");
    sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'it''s \xFF')");
    sql("INSERT INTO AP_USER.client_name VALUES ('" + kAnn + "', 'Ann\x1b[2J')");
    register_ap(1, kMac, "Door");
    register_ap(2, kOtherMac, "Hall");
    const Words all{kAnn, kBob, kOthers[0], kOthers[1], kOthers[2]};
    const std::string host = "02:00:00:00:00:21";  // always at Hall
    report(kMac, all);
    report(kOtherMac, {});
    report(kMac, all);  // has Hall in hearing by now, and refuses Ann and Bob
    report(kOtherMac, {kAnn, kBob, host});
    report(kMac, kOthers);
    report(kOtherMac, {kAnn, host});
    for (const char* table : {"legal", "illegal", "block", "AP_001", "AP_002"}) {
      sql(std::string("UPDATE AP_CLIENT.") + table + " SET utime=NOW() - INTERVAL 200 SECOND");
    }
    for (const char* table : {"AP_CLIENT.AP_001", "AP_CLIENT.AP_002", "AP_POOR_CLIENT.AP_001"}) {
      sql(std::string("UPDATE ") + table + " SET stime=NOW() - INTERVAL 200 SECOND");
    }
  }

  static std::string bssid(const std::string& mac, int band) {
    return mac.substr(0, mac.size() - 1) + std::to_string(band);
  }

  static kit::Child start_report(const std::string& mac, const Words& stations, int level) {
    constexpr int kMhz[] = {2437, 5180};
    const bool is_door = mac == kMac;
    kit::ReportText text;
    text.add(kit::ApStatus{mac, 5, 40, "2.1.0", "1 day"});
    for (const int band : {0, 1}) {
      text.add(kit::OwnRadio{bssid(mac, band), "it's \xFF", kMhz[band], 20, -40});
      const std::string other = bssid(is_door ? kOtherMac : kMac, band);
      text.add(kit::HeardRadio{other, "it's \xFF", kMhz[band], level - band});
    }
    text.add(kit::HeardRadio{"02:99:00:00:00:01", "Cafe \"B\xC3\xBCro\"", 2437, -80});
    int number = 0;
    for (const std::string& station : stations) {
      const int link = station < kAnn ? 15 : 40 + ++number;  // the others are too far away to move
      text.add(kit::ServedStation{1, station, 1, 36, 300, 65, link, number, 7, 8});
    }
    text.add(kit::PoorStation{6, "02:00:00:00:00:03", "", 5, 1'000'000'000});
    return start_hook({"ap-command", "1", deliver_report(text.text()), kAddress, mac});
  }

  static void report(const std::string& mac, const Words& stations) {
    EXPECT_EQ(start_report(mac, stations, -50).finish().status, 0);
    std::filesystem::remove(slot_of(mac));
  }

  static Lines blocks() { return sql_rows("SELECT mac FROM AP_CLIENT.block ORDER BY mac"); }

  static Lines checksums() {
    return sql_rows(
        "CHECKSUM TABLE AP_INFO.ap_list, AP_CLIENT.legal, AP_CLIENT.illegal, AP_CLIENT.block, "
        "AP_CLIENT.AP_001, AP_CLIENT.AP_002, AP_POOR_CLIENT.AP_001");
  }
};

TEST_F(Show, TellsAllAboutASiteAndChangesNothing) {
  ASSERT_EQ(blocks(), (Lines{kAnn, kBob}));
  const Lines before = checksums();
  trace_on(kMac);
  write_file(slot_of(kMac), "[command]\n");
  set_age(slot_of(kMac), seconds(200));
  std::string text;
  for (const char* subject : {"", "Door", "2", kAnn.c_str(), "02:00:00:00:00:0b"}) {
    const kit::Output shown = show(*subject == '\0' ? Words{} : Words{subject});
    EXPECT_EQ(shown.status, 0) << shown.text;
    text += "$ ap-show" + (*subject == '\0' ? "" : " " + std::string(subject)) + "\n" + shown.text +
            "\n";
  }
  // A second may pass on the way; the poor station has been connected since 2001.
  text = std::regex_replace(text, std::regex("20[0-9] s ago"), "200 s ago");
  text = std::regex_replace(text, std::regex("\\b[0-9]{4,} d\\b"), "DAYS d");
  EXPECT_EQ(text, content("/source/tests/hooks/show.txt"));
  EXPECT_EQ(checksums(), before);
  EXPECT_EQ(content("/database/ap/debug/" + kMac) + content("/recorded/syslog"), "");
}

TEST_F(Show, ForecastsWhatTheNextReportDoesWithABlock) {
  // A change, what the station view says of Ann and of Bob, and whether Door's next report, with so
  // many stations, leaves them refused.
  struct Case {
    const char* change;
    const char* settings;
    const char *ann, *bob;
    bool ann_stays, bob_stays;
    int stations = 3;
    int level = -50;  // at which it hears Hall
  };
  const char* at_hall = "Hall has the station in its table";
  const char* nowhere = "nothing: no AP that Door hears";
  const char* deaf = "nothing: Door hears nobody above -75 dBm on";
  const char* unheard = "nothing: no other AP hears Door";
  const char* lone = "nothing: Door has a single station";
  const char* gone = "SSID profile 1 of the block is gone";
  const Case cases[] = {
      {"DO 1", "79=1", at_hall, nowhere, true, false},
      {"DELETE FROM AP_CLIENT.AP_002", "79=1", nowhere, nowhere, false, false},
      {"UPDATE AP_CLIENT.legal SET `signal`='-80' WHERE refer_ap=1", "79=1", deaf, deaf, false,
       false, 3, -80},
      {"DELETE FROM AP_CLIENT.legal WHERE refer_ap=2", "79=1", unheard, unheard, false, false},
      {"DELETE FROM AP_CLIENT.AP_001 LIMIT 2", "79=1", lone, lone, false, false, 1},
      {"DELETE FROM AP_INFO.ap_profile", "79=1", gone, gone, true, true},
      {"DO 1", "79=0", "load balancing is off", "load balancing is off", true, true},
      {"DO 1", "79=0\n135=2", "the MAC filter is on", "the MAC filter is on", false, false}};
  for (const Case& one : cases) {
    SetUp();
    sql(one.change);
    configure(std::string("[settings]\n") + one.settings + "\n");
    const auto kept_by = [](const std::string& mac) {
      return json::parse(show({mac, "--json"}).text)["refused"][0]["kept_by"].get<std::string>();
    };
    EXPECT_NE(kept_by(kAnn).find(one.ann), std::string::npos) << one.change << kept_by(kAnn);
    EXPECT_NE(kept_by(kBob).find(one.bob), std::string::npos) << one.change << kept_by(kBob);
    Lines left;
    for (const auto& [mac, stays] : {std::pair(kAnn, one.ann_stays), {kBob, one.bob_stays}}) {
      if (stays) {
        left.push_back(mac);
      }
    }
    const Words stations(kOthers.begin(), kOthers.begin() + one.stations);
    const kit::Child hook = start_report(kMac, stations, one.level);
    EXPECT_TRUE(eventually([&] { return exists(slot_of(kMac)); })) << one.change;
    EXPECT_EQ(blocks(), left) << one.change;
  }
}

TEST_F(Show, NamesWhatIsOddAndSorts) {
  const auto odd = [](const Words& words = {"--problems"}) {
    std::string found;
    Words json_words = words;
    json_words.emplace_back("--json");
    const json shown = json::parse(show(json_words).text);
    for (const json& ap : shown["aps"]) {
      found += ap["name"].get<std::string>() + ":" + ap["problems"].get<std::string>() + ";";
    }
    return found;
  };
  EXPECT_EQ(odd(), "Door:report old;Hall:report old;") << "of 200 seconds ago";
  EXPECT_EQ(odd({"--problems", "--period", "100"}), "");
  write_file("/database/ap/lock/" + kMac, "");
  write_file(slot_of(kMac) + ".update", "");
  EXPECT_EQ(odd({"--problems", "--period=100"}), "");
  set_age(slot_of(kMac) + ".update", seconds(20));
  set_age("/database/ap/lock/" + kMac, seconds(600));
  write_file("/firmware/new.bin", "");
  ASSERT_EQ(run_hook({"ap-command", "3", "/firmware/new.bin", kOtherMac}), 0);
  EXPECT_EQ(odd({"--problems", "--period=100"}), "Door:slot taken, lock old;");
  sql("UPDATE CONNTRACK_LOG_" + sql_value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')") +
      ".ap_controller SET STime=NOW() - INTERVAL 601 SECOND WHERE Msg='AP Hall updated.'");
  EXPECT_EQ(odd({"--problems", "--period=100", "--sort=stations_5"}),
            "Door:slot taken, lock old;Hall:update stuck;");
  const json hall = json::parse(show({"--json", "--sort", "state"}).text)["aps"][1];
  EXPECT_EQ(hall["state"], "updating");
  EXPECT_EQ(hall["pending"], "new.bin");
  EXPECT_GE(hall["state_age"], 601);
  EXPECT_EQ(hall["command_age"], nullptr);
}

TEST_F(Show, FitsATerminalAndSaysWhatItCannotShow) {
  const std::string narrow = kit::output_of({"env", "COLUMNS=50", "ap-show", kAnn}).text +
                             kit::output_of({"env", "COLUMNS=72", "ap-show"}).text;
  for (const std::string& line : lines_of(narrow)) {
    EXPECT_LE(line.size(), 72U) << line;
  }
  EXPECT_EQ(narrow.find(kOtherMac), std::string::npos) << "a column that is left out";
  EXPECT_NE(narrow.find("\nHall "), std::string::npos);
  EXPECT_EQ(narrow.find('\x1b'), std::string::npos);
  EXPECT_NE(kit::output_of({"script", "-qec", "ap-show", "/dev/null"}).text.find("\x1b[1m"),
            std::string::npos)
      << "colours on a terminal";

  const Lines rounds =
      lines_of(kit::output_of({"sh", "-c", "ap-show --watch=1 --json | head -n 2"}).text);
  ASSERT_EQ(rounds.size(), 2U);
  EXPECT_EQ(json::parse(rounds[1])["aps"].size(), 2U);

  sql("UPDATE AP_INFO.ap_list SET Name='Door'");
  sql("CREATE OR REPLACE USER nobody@localhost");
  const std::pair<Words, int> wrong[] = {{{"nobody"}, 1},      {{"Door"}, 1},  {{"3"}, 1},
                                         {{"--sort", "x"}, 1}, {{"--bad"}, 2}, {{"--watch=0"}, 2},
                                         {{"metrics", "x"}, 2}};
  for (const auto& [words, status] : wrong) {
    const kit::Output refused = show(words);
    EXPECT_EQ(refused.status, status) << words[0];
    EXPECT_EQ(refused.text.find('\n'), refused.text.size() - 1) << refused.text;
  }
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=nobody\n");
  const kit::Output refused = show({});
  sql("DROP USER nobody@localhost");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.text.find("the database refused a query"), std::string::npos) << refused.text;
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=nobody\npassword=wrong\n");
  EXPECT_NE(show({}).text.find("Access denied"), std::string::npos);
}

/// The samples of a text in the format of Prometheus. Each has its form and comes after the lines that
/// say what it is.
std::map<std::string, long> samples_of(const std::string& text) {
  static const std::regex kSample(
      R"re(([a-z_]+?)(_bucket|_sum|_count)?(\{[a-z]+="[^"\\]+"\})? ([0-9]+))re");
  std::map<std::string, long> samples;
  std::string name, type;
  for (const std::string& line : lines_of(text)) {
    std::smatch parts;
    if (line.starts_with("# HELP ")) {
      name = line.substr(7, line.find(' ', 7) - 7);
    } else if (line.starts_with("# TYPE ")) {
      type = line.substr(line.rfind(' ') + 1);
      EXPECT_EQ(line, "# TYPE " + name + " " + type);
    } else {
      EXPECT_TRUE(std::regex_match(line, parts, kSample)) << line;
      EXPECT_EQ(parts[1], name);
      EXPECT_EQ(parts[2].matched, type == "histogram") << line;
      const std::string sample = line.substr(0, line.rfind(' '));
      EXPECT_TRUE(samples.emplace(sample, std::stol(parts[4])).second) << "twice: " << line;
    }
  }
  return samples;
}

TEST_F(Show, TellsMonitoringWhatIsThere) {
  for (const char* file : {"/database/ap/lock/x", "/database/ap/command/.77",
                           "/database/ap/command/[CMD]=x.update", "/database/ap/reports/r.ini"}) {
    write_file(file, "");
    set_age(file, seconds(600));
  }
  sql("UPDATE AP_INFO.ap_list SET Status=0 WHERE SN=2");
  sql("UPDATE AP_CLIENT.block SET refer_ap_sn=9 WHERE mac='" + kBob + "'");
  auto samples = samples_of(show({"metrics"}).text);
  const auto expect_near = [&](const std::string& name, long value) {
    EXPECT_GE(samples[name], value) << name;
    EXPECT_LE(samples[name], value + 30) << name;
    samples.erase(name);
  };
  expect_near("ap_run_oldest_command_seconds", 600);
  expect_near("ap_run_oldest_lock_seconds", 600);
  expect_near("ap_run_report_age_seconds_sum", 200);
  std::string rest;
  for (const auto& [name, value] : samples) {
    rest += name + " " + std::to_string(value) + "\n";
  }
  EXPECT_EQ(rest,
            "ap_run_aps{state=\"connected\"} 1\n"
            "ap_run_aps{state=\"gone\"} 1\n"
            "ap_run_aps{state=\"rebooting\"} 0\n"
            "ap_run_aps{state=\"updating\"} 0\n"
            "ap_run_blocks 2\n"
            "ap_run_commands_waiting 1\n"
            "ap_run_database_up 1\n"
            "ap_run_foreign_radios 1\n"
            "ap_run_lost{what=\"orphaned_block\"} 1\n"
            "ap_run_lost{what=\"stale_lock\"} 1\n"
            "ap_run_lost{what=\"unfinished_command\"} 1\n"
            "ap_run_lost{what=\"unread_report\"} 1\n"
            "ap_run_orders_pending 0\n"
            "ap_run_report_age_seconds_bucket{le=\"+Inf\"} 1\n"
            "ap_run_report_age_seconds_bucket{le=\"120\"} 0\n"
            "ap_run_report_age_seconds_bucket{le=\"180\"} 0\n"
            "ap_run_report_age_seconds_bucket{le=\"1800\"} 1\n"
            "ap_run_report_age_seconds_bucket{le=\"300\"} 1\n"
            "ap_run_report_age_seconds_bucket{le=\"3600\"} 1\n"
            "ap_run_report_age_seconds_bucket{le=\"60\"} 0\n"
            "ap_run_report_age_seconds_bucket{le=\"600\"} 1\n"
            "ap_run_report_age_seconds_count 1\n"
            "ap_run_stations{band=\"2.4\"} 0\n"
            "ap_run_stations{band=\"5\"} 5\n");
  EXPECT_EQ(json::parse(show({"metrics", "--json"}).text)["metrics"][1]["labels"],
            "state=\"connected\"");
  write_file("/etc/ap-run/database.cnf", "[client]\nuser=nobody\npassword=wrong\n");
  const kit::Output away = show({"metrics"});
  EXPECT_EQ(away.status, 0);
  samples = samples_of(away.text);
  EXPECT_EQ(samples["ap_run_database_up"], 0);
  EXPECT_EQ(samples["ap_run_lost{what=\"stale_lock\"}"], 1);
  EXPECT_FALSE(samples.contains("ap_run_blocks"));
}

}  // namespace
