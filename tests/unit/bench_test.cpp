#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "platform/text.h"
#include "report_text.h"
#include "reports/report.h"

namespace {

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
