#include "known_settings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace {

std::string packaged(const char* file) {
  std::ifstream stream(std::string(PACKAGING "/") + file);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

/// The keys that `pattern` finds in `text`, each with what is written between it and the next.
std::map<std::string, std::string> entries(const std::string& text, const char* pattern) {
  const std::regex key(pattern);
  std::map<std::string, std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), key), end; match != end;) {
    const std::smatch here = *match++;
    const auto next = match == end ? text.end() : (*match)[0].first;
    found[here[1]] = std::string(here[0].second, next);
  }
  return found;
}

TEST(Settings, AreDocumentedAsTheyAre) {
  auto manual = entries(packaged("man/ap-run.ini.5"), R"(\.It Cm (\d+|[A-Z_]+)\n)");
  auto shipped = entries(packaged("platform.ini"), R"(\n;(\d+|[A-Z_]+) = )");
  std::vector<KnownSetting> program = known_settings();
  std::erase_if(program, [](const KnownSetting& info) { return *info.name == '\0'; });
  EXPECT_EQ(manual.size(), program.size());
  EXPECT_EQ(shipped.size(), program.size());
  const std::string titles = packaged("platform.ini");
  for (const KnownSetting& info : program) {
    const std::string initial = info.initial;
    const std::string& text = manual[info.key];
    EXPECT_EQ(text.substr(0, text.find_first_of(":.,")), info.name);
    EXPECT_TRUE(text.find("Default: " + (initial.empty() ? "none" : initial)) < text.size() ||
                text.find(initial + " (default)") < text.size())
        << info.name;
    EXPECT_TRUE(shipped[info.key].starts_with((initial.empty() ? R"("")" : initial) + "\n"))
        << info.name;
    EXPECT_NE(titles.find(std::string("; ") + info.name), std::string::npos) << info.name;
  }
}

}  // namespace
