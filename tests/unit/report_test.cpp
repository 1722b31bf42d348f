#include "reports/report.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "ini/ini_pieces.h"
#include "reports/system_status.h"

namespace {

class ReportFile : public testing::Test {
 protected:
  void TearDown() override { unlink(path_.c_str()); }

  std::optional<Report> load(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    return Report::load(path_, "");
  }

  const std::string path_ = testing::TempDir() + "ap-run-report-" + std::to_string(getpid());
};

using Reading = ReportFile;
using Refusing = ReportFile;

TEST_F(Reading, FindsTextsAndNumbers) {
  const auto report = load(
      "[01 client 5G 03]\n"
      "ADDR = 00:AA:bb:00:00:01\nEmpty =\nMarker = ^o^\n"
      "Twice = 1\nTwice = 2\n"
      "Hex = 0x1f\nOctal = 010\nNegative = -71 dBm\nWide = 4294967297\nHuge = 99999999999999999999\n"
      "Word = none\n");
  ASSERT_TRUE(report);
  constexpr const char* kSection = "01 CLIENT 5g 03";
  EXPECT_EQ(report->text(kSection, "addr"), "00:AA:bb:00:00:01");
  EXPECT_EQ(report->text(kSection, "Empty"), "");
  EXPECT_EQ(report->text(kSection, "Marker"), std::nullopt);
  EXPECT_EQ(report->text(kSection, "Absent"), std::nullopt);
  EXPECT_EQ(report->text("Absent", "ADDR"), std::nullopt);
  EXPECT_EQ(report->text(kSection, "Twice"), "2");

  const ReportSection section{*report, kSection};
  EXPECT_EQ(section.number<std::int32_t>("Hex"), 31);
  EXPECT_EQ(section.number<std::int32_t>("Octal"), 8);
  EXPECT_EQ(section.number<std::int32_t>("Negative"), -71);
  EXPECT_EQ(section.number<std::int32_t>("Word"), 0);
  EXPECT_EQ(section.number<std::int32_t>("Absent"), 0);
  EXPECT_EQ(section.number<std::int32_t>("Wide"), 1);
  EXPECT_EQ(section.number<std::int32_t>("Huge"), -1);
  EXPECT_EQ(section.number<std::uint32_t>("Negative"), 4294967225U);
  EXPECT_EQ(section.number<std::uint64_t>("Wide"), 4294967297U);
}

TEST_F(Reading, KeysOfManyPieces) {
  std::string text = "[a]\nfirst = 1\ntwice = early\n";
  for (int i = 0; i < 2000; ++i) {
    text += "[section " + std::to_string(i) + "]\nkey = value " + std::to_string(i) + "\n";
  }
  const auto report = load(text + "[A]\ntwice = late\n");
  ASSERT_TRUE(report);
  EXPECT_EQ(report->text("a", "first"), "1");
  EXPECT_EQ(report->text("a", "twice"), "late");
  EXPECT_EQ(report->text("section 0", "key"), "value 0");
  EXPECT_EQ(report->text("section 1999", "key"), "value 1999");
  EXPECT_FALSE(load(text + "no equals sign\n"));
}

TEST(IniPieces, BeginWithSectionsThatTheLibraryTakesForThem) {
  using Pieces = std::vector<IniPiece>;
  const struct {
    std::string_view text;
    std::size_t least;
    Pieces pieces;
  } cases[] = {
      {"", 1, {}},
      {"; c\n\n[a]\nx=1\n", 1, {{"", "; c\n\n"}, {"", "[a]\nx=1\n"}}},
      {"[a]\n[b]\n[c]", 1, {{"", "[a]\n"}, {"", "[b]\n"}, {"", "[c]"}}},
      {"[a]\n[b]\n[c]\n", 5, {{"", "[a]\n[b]\n"}, {"", "[c]\n"}}},
      {"[a]\n \t[b] \r\nx=1", 1, {{"", "[a]\n"}, {"", " \t[b] \r\nx=1"}}},
      {"[a]\n[b=1\n[]\n[ ]\n", 3, {{"", "[a]\n[b=1\n[]\n"}, {"", "[ ]\n"}}},
      {"[a]\nx=1\\ \n[b]\n[c]\n", 1, {{"", "[a]\nx=1\\ \n[b]\n"}, {"", "[c]\n"}}},
      {"[a]\nlong=12345\\\nxy\nz=3\n[b]\n",
       1,
       {{"", "[a]\nlong=12345\\\nxy\n"}, {"[a]\n", "z=3\n"}, {"", "[b]\n"}}},
      {"[a\\ \nb]\nx=12345678\ny=2\n",
       1,
       {{"", "[a\\ \nb]\nx=12345678\n"}, {"[a\\ \nb]\n", "y=2\n"}}},
      {"[abcd]\n[]\nx=123\ny=1\n", 1, {{"", "[abcd]\n[]\nx=123\n"}, {"[abcd]\n[]\n", "y=1\n"}}},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(ini_pieces(one.text, one.least, 16), one.pieces) << one.text;
  }
}

TEST_F(Reading, ASectionsOwnNameIsNoValue) {
  const auto report = load("[00]\nMAC = a\n[00:MAC2]\nx = 1\n");
  ASSERT_TRUE(report);
  EXPECT_EQ(report->text("00", "MAC2"), std::nullopt);
  EXPECT_EQ((ReportSection{*report, "00"}.number<std::int32_t>("MAC2")), 0);
}

TEST_F(Reading, SystemStatusIsCutToItsWidths) {
  const auto report = load("[00]\nMAC = 00:11:22:33:44:55:66\ncpu = 123456789012\nversion = " +
                           std::string(300, 'v') + "\nuptime = " + std::string(40, 'u') + "\n");
  ASSERT_TRUE(report);
  const system_record status = read_system_status(*report);
  EXPECT_EQ(status.mac, "00:11:22:33:44:55");
  EXPECT_EQ(status.cpu, "123456789");
  EXPECT_EQ(status.memory, "");
  EXPECT_EQ(status.version.size(), 255U);
  EXPECT_EQ(status.uptime.size(), 31U);
}

TEST_F(Refusing, WhatIsNoRegularReadableFile) {
  EXPECT_FALSE(Report::load("/nowhere/report.ini", ""));
  EXPECT_FALSE(Report::load("/dev/null", ""));
  EXPECT_FALSE(Report::load(testing::TempDir(), ""));
  ASSERT_EQ(symlink("/etc/hostname", path_.c_str()), 0);
  EXPECT_FALSE(Report::load(path_, "")) << "a link";
  unlink(path_.c_str());
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_FALSE(Report::load(path_, "")) << "a pipe";
}

TEST_F(Refusing, LinesThatTheLibraryRefuses) {
  EXPECT_FALSE(load("[00]\nversion = " + std::string(1100, 'x') + "\n"));
  EXPECT_FALSE(load("[00]\nno equals sign\n"));
  EXPECT_FALSE(load(std::string(100, '\0')));
  EXPECT_FALSE(load(std::string("[00]\nMAC = a\n[\0x]\n", 17)));
  EXPECT_TRUE(load("")) << "an empty report is one without sections";
}

TEST_F(Refusing, WhatWouldTakeSecondsToLoad) {
  std::string text(Report::kMostLines, '\n');
  EXPECT_TRUE(load(text));
  EXPECT_FALSE(load(text + "\n"));
  text.assign(Report::kMostBytes, ' ');
  for (std::size_t end = 999; end < text.size(); end += 1000) {
    text[end] = '\n';
  }
  EXPECT_TRUE(load(text));
  EXPECT_FALSE(load(text + " "));
}

}  // namespace
