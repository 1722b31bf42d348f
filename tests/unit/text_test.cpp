#include <gtest/gtest.h>

#include "platform/text.h"
#include "values/decimal.h"
#include "values/mac_address.h"
#include "values/shell_word.h"
#include "values/visible_text.h"

TEST(Mac, IsSeventeenCharactersOfHexadecimalGroups) {
  for (const char* good : {"00:11:22:33:44:55", "aa:bb:cc:dd:ee:ff", "AA:bB:0c:9D:eE:Ff"}) {
    EXPECT_TRUE(is_mac(good)) << good;
  }
  for (const char* bad :
       {"", "00:11:22:33:44:5", "00:11:22:33:44:555", "00-11-22-33-44-55", "0g:11:22:33:44:55",
        "../../../../../etc", "00:11:22:33:44:5\n", "001:1:22:33:44:55", " 0:11:22:33:44:55"}) {
    EXPECT_FALSE(is_mac(bad)) << bad;
  }
}

TEST(Decimal, ReadsLikeTheAppliance) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"", 0},     {"x1", 0},   {"12", 12}, {" -7 ", -7},
      {"010", 10}, {"0x10", 0}, {"3,4", 3}, {"99999999999999999999", INT64_MAX},
      {"+5", 5},   {"- 5", 0},  {"1.9", 1}};
  for (const auto& [text, number] : cases) {
    EXPECT_EQ(decimal(text), number) << text;
  }
  EXPECT_EQ(decimal_int("4294967297"), 1) << "the low 32 bits";
  EXPECT_EQ(cut_to<std::uint16_t>(65537U), 1);
}

TEST(ShellWord, QuotesWhatIsNotHarmless) {
  const std::pair<const char*, const char*> cases[] = {
      {"00:11:22:33:44:55", "00:11:22:33:44:55"},
      {"/firmware/a_b-1.2.bin", "/firmware/a_b-1.2.bin"},
      {"user@host%1=2,3+4", "user@host%1=2,3+4"},
      {"", "''"},
      {"a b", "'a b'"},
      {"$(x)", "'$(x)'"},
      {"it's", "'it'\\''s'"},
      {"a\nb", "'a\nb'"},
      {"~", "'~'"}};
  for (const auto& [text, word] : cases) {
    EXPECT_EQ(shell_word(text), word);
  }
  EXPECT_EQ(within_double_quotes("it's \"a\\b\" $(x) `y`\n!"),
            "it's \\\"a\\\\b\\\" \\$(x) \\`y\\`\n!");
}

TEST(Text, GrowsAndFormatsAnyLength) {
  const std::string long_text(5000, 'x');
  std::string lines = my_string("", "kick%d=%s\n", 0, "a");
  lines = my_string(std::move(lines), "%s", long_text.c_str());
  EXPECT_EQ(lines, "kick0=a\n" + long_text);
  EXPECT_EQ(M("%s/%03d", "AP", 7), "AP/007");
  EXPECT_EQ(M("%s", std::string(511, 'y').c_str()).size(), 511U);
  EXPECT_EQ(M("%s", std::string(512, 'y').c_str()).size(), 512U);
  EXPECT_EQ(my_tolower("AZaz\xC4@["), "azaz\xC4@[");
}

TEST(VisibleText, ShowsControlBytesAndLeavesEveryOther) {
  const std::string text("a\n\x1b[2J\0\x7f caf\xe9", 13);
  EXPECT_EQ(visible_text(text), "a\\x0A\\x1B[2J\\x00\\x7F caf\xe9");
  EXPECT_EQ(visible_lines("a\nb\r\n"), "a\nb\\x0D\n");
}
