#include <regex>

#include "support/appliance.h"

namespace {

class Building : public HookTest {
 protected:
  /// The log of some minutes of a scenario, from an empty database; empty when the tables differ
  /// from the building at the end.
  static std::string play(const std::string& scenario, const std::string& minutes) {
    const std::string log = "/tmp/building.log";
    const std::string command = "/build/bin/lab-building /source/lab/scenarios/" + scenario +
                                " --minutes " + minutes + " --log " + log +
                                " --page /tmp/building.html >/tmp/building.out";
    EXPECT_EQ(system(command.c_str()), 0) << content("/tmp/building.out");
    return content(log);
  }
};

TEST_F(Building, TellsWhatIsWrongWithACommandLine) {
  const std::string scenario = "/source/lab/scenarios/fleet.ini";
  const Words wrong[] = {{"lab-building", "/source/lab/scenarios/none.ini"},
                         {"lab-building", scenario, "--minutes", "0"},
                         {"lab-building", "--pages", "page.html"},
                         {"lab-replay", "/nowhere"},
                         {"lab-replay", "/source/lab/reports", "--rounds", "0"},
                         {"lab-replay", "/source/lab/reports", "--set", "79"}};
  for (Words words : wrong) {
    words[0] = "/build/bin/" + words[0];
    const kit::Output refused = kit::output_of(words);
    EXPECT_EQ(refused.status, 2) << words[1];
    EXPECT_EQ(refused.text.find('\n'), refused.text.size() - 1) << refused.text;
  }
}

TEST_F(Building, GoesTheSameWayTwice) {
  const std::string first = play("quiet-office.ini", "6");
  EXPECT_NE(first.find(" block "), std::string::npos);
  EXPECT_EQ(play("quiet-office.ini", "6 --compare"), first);
  // What another building has left behind plays no part, and without load balancing nobody is kicked.
  EXPECT_TRUE(std::regex_search(content("/tmp/building.out"),
                                std::regex("kicks for each station +0\\.0 +0\\.[1-9]")))
      << content("/tmp/building.out");
}

TEST_F(Building, BringsFirmwareByDownloadAndByTool) {
  const std::string log = play("firmware-round.ini", "18");
  for (const char* name : {"One", "Two", "Three (old)"}) {
    EXPECT_NE(log.find(name + std::string(" firmware done")), std::string::npos) << log;
  }
  EXPECT_EQ(sql_rows("SELECT fw_version, COUNT(*) FROM AP_INFO.ap_list GROUP BY fw_version"),
            (Lines{"2.1.0|2", "2.2.0|3"}));
}

TEST_F(Building, LivesThroughHostileNames) {
  EXPECT_NE(play("hostile-radio.ini", "3"), "");
  EXPECT_EQ(sql_value("SELECT COUNT(*) FROM AP_CLIENT.illegal"), "18");
  const std::string page = content("/tmp/building.html");
  EXPECT_EQ(page.find("<script>alert"), std::string::npos);
  EXPECT_NE(page.find("\\u003c/script>\\u003cscript>alert(1)//"), std::string::npos);
}

}  // namespace
