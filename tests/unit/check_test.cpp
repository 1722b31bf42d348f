#include <gtest/gtest.h>

#include <functional>

#include "cluster_check.h"
#include "needed_schema.h"
#include "report.h"
#include "schema_version.h"
#include "values/visible_text.h"

namespace {

struct Escaped {
  std::string text, json, printable;
};

TEST(CheckReport, ShowsAnyBytes) {
  const Escaped cases[] = {
      {"", R"("")", ""},
      {R"(say "\n")", R"("say \"\\n\"")", R"(say "\n")"},
      {std::string("\0\x1f\x7f\n", 4), "\"\\u0000\\u001f\x7f\\n\"", R"(\x00\x1f\x7f\x0a)"},
      {"Büro €😀", "\"Büro €😀\"", "Büro €😀"},
      {"\xC2\x9B", "\"\xC2\x9B\"", R"(\x9b)"},
      {"B\xFCro", "\"B\uFFFDro\"", R"(B\xfcro)"},
      {"\xC0\x80 \xED\xA0\x80", "", R"(\xc0\x80 \xed\xa0\x80)"},
      {"cut \xE2\x82", "", R"(cut \xe2\x82)"},
      {"\xF4\x90\x80\x80", "", R"(\xf4\x90\x80\x80)"}};
  for (const auto& [text, json, printable] : cases) {
    EXPECT_EQ(printable_text(text), printable);
    const std::string report = as_json({"", {}, {}, {{Severity::note, "", text, ""}}});
    EXPECT_NE(report.find("\"what\": " + json), std::string::npos) << report;
    EXPECT_TRUE(is_utf8(report));
  }
}

const NeededTable kNeeded{"D",
                          "t",
                          "t.sql",
                          {{"sn", {"INT UNSIGNED NOT NULL", false, true}},
                           {"mac", {"CHAR(17)", false, false}},
                           {"essid", {"VARCHAR(127)", true, false}},
                           {"level", {"SMALLINT", false, false}},
                           {"ap", {"", false, false}}},
                          {{KeyUse::replace, {"ap", "mac"}}, {KeyUse::look_up, {"essid"}}}};

/// As a server describes a table that fits, in another order.
const Table kFitting{{{"sn", {"int(10) unsigned", "", "auto_increment"}},
                      {"mac", {"varchar(20)", "latin1_swedish_ci", ""}},
                      {"ap", {"int(11)", "", ""}},
                      {"essid", {"varchar(127)", "latin1_nopad_bin", ""}},
                      {"level", {"mediumint(9)", "", ""}},
                      {"more", {"date", "", ""}}},
                     {{"a", {true, {"mac", "ap"}}},
                      {"b", {false, {"essid", "more"}}},
                      {"PRIMARY", {true, {"sn", "mac", "ap"}}}}};

std::string names_of(const std::function<void(Table&)>& change) {
  Table table = kFitting;
  change(table);
  std::string names;
  for (const Finding& finding : compare_table(kNeeded, table)) {
    names += (names.empty() ? "" : " ") + finding.name +
             (finding.severity == Severity::problem ? "!" : "");
  }
  return names;
}

TEST(SchemaComparison, NamesWhatDoesNotFit) {
  const std::pair<const char*, std::function<void(Table&)>> cases[] = {
      {"", [](Table&) {}},
      {"column-missing!", [](Table& t) { t.columns.erase("ap"); }},
      {"column-counter!", [](Table& t) { t.columns["sn"].extra = ""; }},
      {"column-collation", [](Table& t) { t.columns["essid"].collation = "latin1_bin"; }},
      {"", [](Table& t) { t.columns["essid"].collation = ""; }},
      {"column-narrow", [](Table& t) { t.columns["essid"].type = "varchar(126)"; }},
      {"column-narrow", [](Table& t) { t.columns["sn"].type = "int(11)"; }},
      {"column-narrow", [](Table& t) { t.columns["level"].type = "int(10) unsigned"; }},
      {"column-narrow", [](Table& t) { t.columns["level"].type = "tinyint(9)"; }},
      {"", [](Table& t) { t.columns["essid"].type = "text"; }},
      {"", [](Table& t) { t.columns["level"].type = "varchar(9)"; }},
      {"key-missing!", [](Table& t) { t.keys["a"].unique = false; }},
      {"key-missing! key-too-narrow!", [](Table& t) { t.keys["a"].columns = {"mac"}; }},
      {"key-missing!",
       [](Table& t) {
         t.keys["a"].columns = {"mac", "ap", "more"};
       }},
      {"key-too-narrow!", [](Table& t) { t.keys["PRIMARY"].columns = {"sn"}; }},
      {"key-missing", [](Table& t) {
         t.keys["b"].columns = {"more", "essid"};
       }}};
  for (const auto& [expected, change] : cases) {
    EXPECT_EQ(names_of(change), expected);
  }
}

TEST(SchemaComparison, LooksAtTheTablesOfSingleAps) {
  Schema schema;
  for (const char* name : {"AP_CLIENT.AP_007", "AP_CLIENT.AP_1234", "AP_CLIENT.AP_07",
                           "AP_CLIENT.AP_old", "AP_POOR_CLIENT.AP_007"}) {
    schema[name] = {};
  }
  std::map<std::string, int> columns_missing;
  for (const Finding& finding : compare_schema(schema)) {
    columns_missing[finding.what.substr(0, finding.what.find(' '))] +=
        finding.name == "column-missing";
  }
  EXPECT_EQ(columns_missing["AP_CLIENT.AP_007"], 13);
  EXPECT_EQ(columns_missing["AP_CLIENT.AP_1234"], 13);
  EXPECT_EQ(columns_missing["AP_POOR_CLIENT.AP_007"], 9);
  EXPECT_FALSE(columns_missing.contains("AP_CLIENT.AP_07"));
  EXPECT_FALSE(columns_missing.contains("AP_CLIENT.AP_old"));
}

TEST(SchemaVersion, OlderOnesAreProblemsWhenTheProgramNeedsMore) {
  EXPECT_EQ(schema_version("schema version 12"), 12);
  EXPECT_EQ(schema_version("one row per AP"), 1);
  EXPECT_EQ(exit_status(compare_versions(1, 2, 3)), 2);
  EXPECT_EQ(exit_status(compare_versions(2, 2, 3)), 1);
  EXPECT_EQ(exit_status(compare_versions(3, 2, 3)), 0);
  EXPECT_EQ(compare_versions(4, 2, 3).front().name, "schema-newer");
}

TEST(ClusterCheck, NamesWhatIsWrongWithAGroup) {
  const auto node = [](const char* host) {
    return Node{host, "", true, true, 3, "REPLICATE_MYISAM", true};
  };
  const auto judged = [](const std::vector<Node>& nodes) {
    std::string names;
    for (const Finding& finding : judge_cluster(nodes)) {
      names += finding.name + " ";
    }
    return names;
  };
  std::vector<Node> nodes{node("a:1"), node("b:2"), node("c:3")};
  EXPECT_EQ(judged(nodes), "");
  EXPECT_EQ(judged({nodes[0]}), "node-not-listed ");
  EXPECT_EQ(judged({Node{"", "", false, true, 0, "", true}}), "") << "a single server";
  EXPECT_EQ(judged({Node{"", "away", false, false, 0, "", false}}), "") << "told elsewhere";
  nodes[1].mode = "";
  nodes[2].makes_logs = false;
  EXPECT_EQ(judged(nodes), "cluster-modes-differ event-not-everywhere ");
  nodes = {node("a:1"), Node{"b:2", "refused", false, false, 0, "", false},
           Node{"c:3", "", true, false, 1, "", false}, Node{"d:4", "", false, true, 0, "", true}};
  nodes[0].mode = "STRICT_REPLICATION";
  nodes[0].group = 2;
  EXPECT_EQ(judged(nodes),
            "node-unreachable node-not-ready node-alone myisam-not-replicated cluster-of-two ");
}

}  // namespace
