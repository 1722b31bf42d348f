#include <gtest/gtest.h>

#include "control/firmware_offer.h"

TEST(DownloadOffer, IsRefusedBeyondItsLimits) {
  const std::pair<std::string, std::string> refusals[] = {
      {R"-(it's; a "$(name)")-", "none"},
      {"a\nb", R"(no line of a command can hold the file name "a\x0Ab")"},
      {"a\r", R"(no line of a command can hold the file name "a\x0D")"},
      {"", "no line of a command can hold the file name \"\""},
      {std::string(474, 'x'), "none"},
      {std::string(475, 'x'), "the command has 512 bytes, more than 511"},
      {std::string(497, 'x'), "the link's path has 512 bytes, more than 511"}};
  for (const auto& [name, refusal] : refusals) {
    EXPECT_EQ(download_offer(CommandType::sync, name, 8080).refusal.value_or("none"), refusal);
  }
}

TEST(ApAddress, IsOneWordThatNamesAHost) {
  for (const char* good : {"192.168.1.20", "0.0.0.1"}) {
    EXPECT_TRUE(is_ap_address(good)) << good;
  }
  for (const char* bad : {"", "0.0.0.0", "::", "1.2.3", "1.2.3.4 -j DROP", " 1.2.3.4", "1.2.3.4\n",
                          "-6", "1.2.3.0/8", "host", "fe80::1"}) {
    EXPECT_FALSE(is_ap_address(bad)) << bad;
  }
}
