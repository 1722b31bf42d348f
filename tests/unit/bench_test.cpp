#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "platform/text.h"
#include "report_text.h"
#include "reports/report.h"
#include "table.h"

namespace {

TEST(BenchTable, ComesFromATableOfTabs) {
  const Section section = section_of("Storm", "case\tms\tlimit\nnew ones\t10.5\tnone\n\t-3\t4x\n");
  EXPECT_EQ(section.columns, (std::vector<std::string>{"new ones", ""}));
  EXPECT_EQ(as_json("a \"head\"\x01", {section}),
            R"({
 "head": "a \"head\"\u0001",
 "sections": [
  {
   "title": "Storm",
   "columns": [
    "new ones",
    ""
   ],
   "rows": [
    {
     "label": "ms",
     "unit": "",
     "values": [
      10.5,
      -3.0
     ],
     "goal": null
    },
    {
     "label": "limit",
     "unit": "",
     "values": [
      "none",
      "4x"
     ],
     "goal": null
    }
   ],
   "note": ""
  }
 ]
}
)");
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
