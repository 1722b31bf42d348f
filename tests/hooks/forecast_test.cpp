#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <thread>

#include "kit/report_text.h"
#include "show/why_view.h"
#include "support/appliance.h"

namespace {

constexpr int kAps = 4;
const Words kSsids{"Office", "it's"};

std::string mac_of(int sn) {
  return M("00:11:22:33:44:%02d", sn);
}
std::string radio_of(int sn, int slot, int mhz) {
  return M("02:11:22:%02d:%02d:%02d", sn, slot, mhz > 5000 ? 5 : 2);
}

/// Everything that lasts: the rows of all tables, files with their contents.
std::string all_that_lasts() {
  std::string all;
  for (const std::string& table :
       sql_rows("SELECT CONCAT('`', TABLE_SCHEMA, '`.`', TABLE_NAME, '`') FROM "
                "information_schema.TABLES WHERE TABLE_SCHEMA LIKE 'AP\\_%' ORDER BY 1")) {
    all += table + "\n";
    for (const std::string& row : sql_rows("SELECT * FROM " + table)) {
      all += row + "\n";
    }
  }
  return all +
         kit::output_of({"/bin/sh", "-c",
                         "find /database /etc/ap-run -type f | sort | xargs -r tail -v -n +1"})
             .text;
}

/// A building whose APs report whatever comes, so that all rules get something to do.
class Forecast : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    configure("[settings]\n79 = 1\n91 = 1\n");
    for (std::size_t i = 0; i < kSsids.size(); ++i) {
      sql(M("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (%zu, ", i + 1) +
          kit::sql_literal(kSsids[i]) + ")");
    }
    for (int sn = 1; sn <= kAps; ++sn) {
      register_ap(sn, mac_of(sn), M("AP %d", sn));
    }
    sql("UPDATE AP_INFO.ap_list SET pf_id='1,2', 5G_pf_id='1,2'");
  }

  int any(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }

  std::string any_report(int sn) {
    kit::ReportText report;
    report.add(kit::ApStatus{mac_of(sn), 1, 1, "1.0", "1"});
    for (const int mhz : {2437, 5180}) {
      for (int slot = 1; slot <= 2; ++slot) {
        report.add(kit::OwnRadio{radio_of(sn, slot, mhz), kSsids[slot - 1U], mhz, 17, -30});
        for (int other = 1; other <= kAps; ++other) {
          if (other != sn && any(0, 9) < 7) {
            report.add(
                kit::HeardRadio{radio_of(other, slot, mhz), kSsids[slot - 1U], mhz, any(-78, -60)});
          }
        }
      }
    }
    std::set<int> stations;  // of 30 in the building, on the move
    for (int left = any(0, 4) == 0 ? any(0, 2) : any(2, 12); left > 0; --left) {
      stations.insert(any(10, 39));
    }
    for (const int station : stations) {
      report.add(kit::ServedStation{any(1, 2), M("06:00:00:00:00:%02d", station), station,
                                    any(0, 1) == 0 ? 6 : 36, 65, 65, any(15, 50), any(0, 45), 1,
                                    1});
    }
    return report.text();
  }

  /// The commands that the report is answered with, each fetched as soon as it is there.
  static std::string answer(int sn, const std::string& report) {
    const std::string slot = slot_of(mac_of(sn));
    kit::Child cycle =
        start_hook({"ap-command", "1", deliver_report(report), kAddress, mac_of(sn)});
    std::string told;
    while (cycle.runs() || exists(slot)) {
      if (exists(slot)) {
        told += without_time(content(slot));
        std::filesystem::remove(slot);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(cycle.finish().status, 0);
    return told;
  }

 private:
  std::mt19937 random_{1};
};

TEST_F(Forecast, SaysWhatTheNextReportDoesAndChangesNothing) {
  const char* wanted = std::getenv("AP_RUN_FORECASTS");
  const int cases = wanted == nullptr ? 16 : std::atoi(wanted);
  std::set<std::string> kinds;
  for (int i = 0; i < cases; ++i) {
    const int sn = any(1, kAps);
    const std::string report = any_report(sn);
    answer(sn, report);
    const std::string before = all_that_lasts();
    ASSERT_NE(before.find(M("`AP_CLIENT`.`AP_%03d`", sn)), std::string::npos) << before;
    const kit::Output shown = kit::output_of({"ap-show", "why", "--json", mac_of(sn)});
    ASSERT_EQ(shown.status, 0) << shown.text;
    ASSERT_EQ(all_that_lasts(), before) << report;
    std::string told = "[command]\n";
    const nlohmann::json forecast = nlohmann::json::parse(shown.text);
    for (const std::string line : forecast["command"]) {
      told += line == show::kReleaseAllFirst ? "type=5\ntime=T\n[command]\n" : line + "\n";
    }
    told += "time=T\n";
    ASSERT_EQ(answer(sn, report), told) << report;
    for (const char* kind : {"type=5", "kick", "block", "release", "autoRF=1", "autoRF=-1"}) {
      if (told.find(kind) != std::string::npos) {
        kinds.insert(kind);
      }
    }
  }
  EXPECT_EQ(kinds.size(), 6U) << "the cases are of all kinds";
}

}  // namespace
