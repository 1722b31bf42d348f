#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "general_log.h"
#include "platform/text.h"
#include "report_text.h"
#include "reports/report.h"
#include "script_output.h"

namespace {

TEST(GeneralLog, KeepsTheStatementsOfConnectionsThatBegan) {
  const auto connections = parse_general_log(
      "mariadbd, Version: 10.11 started with:\nTcp port: 0  Unix socket: /run/s\n"
      "Time\t\t    Id Command\tArgument\n"
      "261122  9:09:01\t     5 Query\tSELECT 'of before'\n"
      "\t\t     6 Connect\troot@localhost on  using Socket\n"
      "\t\t     6 Query\tSELECT 'a\n\t\nb'\n"
      "\t\t     7 Connect\troot@localhost on  using Socket\n"
      "261122 10:09:02\t     6 Query\tSELECT `x`\tFROM `y`\n"
      "\t\t     7 Query\t\n"
      "\t\t     6 Quit\t\n");
  ASSERT_EQ(connections.size(), 2U);
  EXPECT_EQ(connections[0].statements,
            (std::vector<std::string>{"SELECT 'a\n\t\nb'", "SELECT `x`\tFROM `y`"}));
  EXPECT_EQ(connections[1].statements, std::vector<std::string>{""});
}

TEST(ScriptOutput, BecomesRowsOfFigures) {
  const auto row = [](const FigureRow& one) {
    std::string text = one.label;
    for (const Cell& cell : one.cells) {
      text += "|" + (cell.number ? M("%g", *cell.number) : cell.text);
    }
    return text;
  };
  const Section storm =
      section_of_blocks("t",
                        "9 joins\n\nNew ones\n    wall, ms   120\n    rows       9, 8\n"
                        "\nOld ones\n    wall, ms   90\n    rows       9, 9\n");
  EXPECT_EQ(storm.note, "9 joins");
  EXPECT_EQ(storm.columns, (std::vector<std::string>{"New ones", "Old ones"}));
  ASSERT_EQ(storm.rows.size(), 2U);
  EXPECT_EQ(row(storm.rows[0]), "wall, ms|120|90");
  EXPECT_EQ(row(storm.rows[1]), "rows|9, 8|9, 9");

  const Section pass =
      section_of_lines("t", "   APs  kick, block     ms\n    50           13   10.5\n");
  ASSERT_EQ(pass.rows.size(), 3U);
  EXPECT_EQ(row(pass.rows[1]), "kick, block|13");
  EXPECT_EQ(row(pass.rows[2]), "ms|10.5");
}

/// How many sections of a form there are without a gap, over both bands.
int count(const Report& report, const std::string& before, const char* key) {
  int found = 0;
  for (const char* band : {"", "5G "}) {
    for (int n = 1; report.text(before + M("%s%02d", band, n), key); ++n) {
      ++found;
    }
  }
  return found;
}

TEST(BenchReport, HoldsWhatItsPlanSays) {
  const std::string path = testing::TempDir() + "bench-report-" + std::to_string(getpid());
  for (const ReportSize size : {ReportSize{1, 1}, ReportSize{64, 300}, ReportSize{512, 2000}}) {
    std::ofstream(path) << report_text({7, size, {8, 9, 10}, 100});
    const auto report = Report::load(path, "");
    unlink(path.c_str());
    ASSERT_TRUE(report);
    int stations = 0;
    for (const char* slot : {"01 client ", "02 client ", "03 client "}) {
      stations += count(*report, slot, "ADDR");
    }
    EXPECT_EQ(stations, size.stations);
    EXPECT_EQ(count(*report, "Cell ", "Address"), size.radios);
    EXPECT_EQ(report->text("00", "MAC"), ap_mac(7));
  }
}

}  // namespace
