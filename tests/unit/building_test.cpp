#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "building/figures.h"
#include "building/page.h"
#include "building/report_text.h"
#include "replaying/explanation.h"
#include "reports/report.h"

namespace {

constexpr const char* kOffice = R"([building]
seed = 4
minutes = 30
size = 40 10
ssids = Office, Guest
[walls]
brick = 20 0  20 10
[rooms]
West = 0 0 20 10
East = 20 0 20 10
[aps]
West = 5 5 1/36
East = 35 5 6/44 wum
[foreign]
Street = 5 9 11 20, a"b;\n[00]\x00\xe9
[people]
Staff = 9 West, on Office, wander 0.1
Guests = 4 East, on Guest, from 3-9, until 20-25
)";

lab::Scenario office() {
  std::string problem;
  lab::Scenario scenario = lab::parse_scenario(kOffice, problem);
  EXPECT_EQ(problem, "");
  return scenario;
}

TEST(Radio, LosesByDistanceAndWalls) {
  lab::Air air{2, {{{5, -1}, {5, 1}, 8}}};
  EXPECT_NEAR(lab::level(lab::Band::two_ghz, 20, {0, 5}, {0, 5}, air), -20.2, 0.01);
  EXPECT_NEAR(lab::level(lab::Band::two_ghz, 20, {0, 5}, {10, 5}, air), -40.2, 0.01);
  EXPECT_NEAR(lab::level(lab::Band::two_ghz, 20, {0, 0}, {10, 0}, air), -48.2, 0.01);
  EXPECT_NEAR(lab::level(lab::Band::five_ghz, 20, {0, 0}, {10, 0}, air), -58.9, 0.01);
  EXPECT_EQ(lab::frequency(lab::Band::two_ghz, 14), 2484);
  EXPECT_EQ(lab::frequency(lab::Band::five_ghz, 149), 5745);
  EXPECT_EQ(lab::frequency(lab::Band::five_ghz, 6), 0);
}

TEST(Scenario, SaysWhichLinesItDoesNotUnderstand) {
  std::string problem;
  lab::parse_scenario(
      "[building]\nssids = A\n[aps]\nOne = 1 2 6/6\nTwo = 1 2 6/36\n[people]\n"
      "P = 3 Nowhere, on A\n[events]\nsoon = leave Two\n",
      problem);
  EXPECT_EQ(problem,
            "line 4 is not understood: One = 1 2 6/6\n"
            "line 7 is not understood: P = 3 Nowhere, on A\n"
            "line 9 is not understood: soon = leave Two\n");
}

/// Half an hour with commands that depend on nothing but the building; its log and all reports.
std::string half_an_hour(lab::Scenario scenario) {
  lab::World world(std::move(scenario));
  world.bring_up(0);
  world.bring_up(1);
  std::string seen;
  for (int minute = 1; minute <= 30; ++minute) {
    world.pass_minute();
    for (const int ap : {0, 1}) {
      const lab::Observation observed = world.observe(ap);
      seen += lab::report_text(world, world.aps()[static_cast<std::size_t>(ap)], observed);
      lab::Command command;
      command.auto_rf = -1;
      if (!observed.stations.empty() && minute % 5 == 0) {
        command.kick.push_back(observed.stations.front().station->mac);
        command.block.push_back(observed.stations.back().station->mac);
      }
      world.obey(ap, command);
    }
  }
  return seen + lab::log_of(world);
}

TEST(World, IsTheSameForTheSameSeed) {
  lab::Scenario other = office();
  other.seed = 5;
  EXPECT_EQ(half_an_hour(office()), half_an_hour(office()));
  EXPECT_NE(half_an_hour(office()), half_an_hour(other));
}

TEST(World, StationsObeyAndKeepAway) {
  lab::World world(office());
  world.bring_up(0);
  world.bring_up(1);
  world.pass_minute();
  ASSERT_EQ(world.clients(0), 9);
  const std::string blocked = world.stations()[0].mac;
  const std::string kicked = world.stations()[1].mac;
  world.obey(0, lab::parse_command("[command]\ntype=4\nkick0=" + kicked + "\nblock0=" + blocked +
                                   "\nautoRF=1\nmacFilterControl=0\ntime=1\n"));
  EXPECT_EQ(world.clients(0), 7);
  EXPECT_EQ(world.stations()[0].ap, 1);    // through the wall, but heard
  EXPECT_EQ(world.aps()[0].power[0], 20);  // at full power already

  // Without the second AP the kicked one has nowhere to go, until it forgets; the blocked stays out.
  world.take_down(1, lab::Deed::leave);
  EXPECT_EQ(world.stations()[1].ap, -1);
  for (int i = 0; i < 3; ++i) {
    world.pass_minute();
  }
  EXPECT_EQ(world.stations()[1].ap, 0);
  EXPECT_EQ(world.stations()[0].ap, -1);
  world.obey(0, lab::parse_command("[command]\ntype=5\ntime=1\n"));
  world.look_for_aps();
  EXPECT_EQ(world.stations()[0].ap, 0);
  world.obey(0, lab::parse_command("macFilterControl=2\nmacFilterAddr1=" + kicked + "," + blocked +
                                   "\nautoRF=-1\n"));
  EXPECT_EQ(world.stations()[0].ap, -1);
  EXPECT_EQ(world.stations()[1].ap, -1);
  EXPECT_EQ(world.aps()[0].power[1], 22);
}

TEST(Figures, CountMovesReturnsAndShares) {
  EXPECT_DOUBLE_EQ(lab::fairness({}), 1);
  EXPECT_DOUBLE_EQ(lab::fairness({0, 8, 0, 0}), 0.25);
  EXPECT_DOUBLE_EQ(lab::fairness({1, 3}), 0.8);
  // Two stations: from 7 to 5 and back in time, then too late; and out of AP 7 for a while, which is
  // a return, but no move.
  const lab::Roaming roaming = lab::roaming_of({{1, 0, 7},
                                                {2, 0, -1},
                                                {2, 0, 5},
                                                {12, 0, 7},
                                                {13, 0, 5},
                                                {24, 0, 7},
                                                {3, 1, 7},
                                                {4, 1, -1},
                                                {6, 1, 7}});
  EXPECT_EQ(roaming.moves, 4);
  EXPECT_EQ(roaming.returns, 3);
}

TEST(ReportText, IsReadAsItWasMeant) {
  lab::World world(office());
  world.bring_up(0);
  world.bring_up(1);
  world.pass_minute();
  const std::string path = testing::TempDir() + "building-report.ini";
  std::ofstream(path) << lab::report_text(world, world.aps()[0], world.observe(0));
  const std::optional<Report> report = Report::load(path, "");
  unlink(path.c_str());
  ASSERT_TRUE(report);
  EXPECT_EQ(report->text("00", "MAC"), "02:1A:B0:00:00:00");
  EXPECT_EQ(report->text("5G_02", "ESSID"), "Guest");
  EXPECT_EQ(report->text("5G_02", "Frequency"), "5.18 GHz");
  EXPECT_EQ(report->text("5G_02", "Address"), "02:1A:B0:00:00:12");
  EXPECT_EQ(report->text("Cell 01", "Address"), "02:1A:B0:00:01:01");
  EXPECT_EQ(report->text("Cell 03", "ESSID"), "a");  // cut by the syntax, and harmless
  EXPECT_FALSE(report->text("Cell 04", "Address"));
  int stations = 0;
  for (const char* band : {"", "5G "}) {
    for (int i = 1; report->text(lab::format("01 client %s%02d", band, i), "ADDR"); ++i) {
      ++stations;
    }
  }
  EXPECT_EQ(stations, 9);
}

TEST(Explanation, TellsWhatTheTraceSays) {
  const std::string head = "2024/01/02 03:04:05 17";
  const std::string trace =
      head + "[get_ap_client_amount:1] amount:5\n" + head +
      "[get_available_demand:2] (2/2) Amount:10, Count:0\n" + head +
      "[get_available_demand:2] (2/2) avg:4 = (users:2 + diff:7) / (aps:1 + 1)\n" + head +
      "[ap_release_block_rule:3]         Found client 06:00:00:00:00:01 in Office(AP_002)\n" +
      head + "[ap_block_snr_rule:4] (2/2) @@ block0=06:00:00:00:00:02\nblock1=x\n";
  std::string complaint;
  const lab::Sections report = lab::sections_of(
      "[01 client 01]\nADDR = 06:00:00:00:00:02\nRSSI = 44\nIDLE = 31\nCHAN = 6\n[Cell 01]\n",
      complaint);
  EXPECT_TRUE(lab::sections_of("[00]\nMAC = 1\nnonsense\n", complaint).empty());
  EXPECT_NE(complaint.find("the file (3)"), std::string::npos) << complaint;
  const lab::Command command = lab::parse_command("type=4\nkick0=06:00:00:00:00:02\nautoRF=0\n");
  EXPECT_EQ(
      lab::explain(report, kit::trace_lines(trace), {command}, {{2, "Hall"}}),
      (lab::Words{"1 stations, 0 of them new; 0 radios heard, 0 of them of ours",
                  "stays blocked: 06:00:00:00:00:01 is now at Hall",
                  "serves 5, 2 above 3; the APs it hears serve 10 and have room for 0",
                  "even share: 5 = (users:2 + diff:7) / (aps:1 + 1), rounded up",
                  "its surplus is not above its share: nobody has to go",
                  "kick    06:00:00:00:00:02: idle for 31 s, more than 30", "auto-RF is off"}));
  EXPECT_EQ(lab::explain(report, {{"report_load", "too large: not loaded"}}, {command}, {}),
            lab::Words{"too large: not loaded; nothing of it was stored"});
}

}  // namespace
