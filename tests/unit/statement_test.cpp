#include "db/statement.h"

#include <gtest/gtest.h>

namespace {

using sql_form::Kind;

constexpr SqlName kTable{"ap_list"};

/// Why the values do not fit; empty when they do.
template <typename... Values>
std::string misfit(std::string_view literal, const Values&... /*values*/) {
  try {
    sql_form::expect_fit(literal,
                         std::array<Kind, sizeof...(Values)>{sql_form::kind_of<Values>()...});
  } catch (const char* why) {
    return why;
  }
  return "";
}

TEST(Statement, TakesValuesOnlyWhereTheyCannotBecomeSyntax) {
  EXPECT_EQ(misfit("`%s`.`AP_%03d` = '%s' %u", kTable, 7, "x", 7U), "");
  EXPECT_EQ(misfit("'%s' '%d'", std::string_view(), 7), "");
  EXPECT_EQ(misfit("'''' '%s'", "x"), "");
  EXPECT_EQ(misfit("%s", SqlNumber{"7"}), "");
  EXPECT_EQ(misfit("'%s'", AsReceived{"7"}), "");
  EXPECT_EQ(misfit("DATE_FORMAT(NOW(), '%%H')"), "");

  constexpr const char* kOutside = "a text outside of single quotes would be syntax";
  EXPECT_EQ(misfit("%s", "x"), kOutside);
  EXPECT_EQ(misfit("`%s`", std::string_view()), kOutside);
  EXPECT_EQ(misfit("'a' %s 'b'", "x"), kOutside);
  EXPECT_EQ(misfit("%s", AsReceived{"7"}), kOutside);
  EXPECT_EQ(misfit("'%s'", kTable), "a name between single quotes");
  EXPECT_EQ(misfit("'%s'", SqlNumber{"7"}), "a name between single quotes");
  EXPECT_EQ(misfit("%d", "7"), "%d and %u take integers");
  EXPECT_EQ(misfit("'%s'", 7), "%s takes no integer");
  EXPECT_EQ(misfit("%d", 7U), "%d takes signed integers, %u unsigned ones");
  EXPECT_EQ(misfit("%u", 7), "%d takes signed integers, %u unsigned ones");
  EXPECT_EQ(misfit("%d %d", 7), "fewer values than places");
  EXPECT_EQ(misfit("%d", 7, 7), "more values than places");
  EXPECT_EQ(misfit("%lu", 7U), "only %s, %d, %u and %% are known");
  EXPECT_EQ(misfit("100%"), "fewer values than places");
  EXPECT_EQ(misfit("'it"), "single quotes are left open");
}

TEST(Statement, EscapesTextsAndDeclinesWhatItCannotCheck) {
  EXPECT_EQ(statement("`%s`.`AP_%03d` `%03d` '%s' %u %d", kTable, 7, -7, "it's \\", 4294967295U,
                      -2147483648)
                .text,
            "`ap_list`.`AP_007` `-07` 'it\\'s \\\\' 4294967295 -2147483648");
  EXPECT_EQ(statement("'%s'", std::string("a\0b", 3)).text, "'a\\0b'");
  EXPECT_EQ(statement("'%s' %s", *SqlText::escaped("it's"), statement("%d", 1)).text, "'it\\'s' 1");
  for (const char* number : {"7", "-7", "+07", "20260131"}) {
    EXPECT_TRUE(statement("%s", SqlNumber{number}).sound) << number;
  }
  for (const char* other : {"", "-", "7 OR 1", "--7", "0x7", "1e3"}) {
    EXPECT_FALSE(statement("%s", SqlNumber{other}).sound) << other;
  }
  EXPECT_TRUE(statement("'%s'", AsReceived{"12%"}).sound);
  for (const char* breaking : {"it's", "a\\"}) {
    const Statement unsound = statement("'%s'", AsReceived{breaking});
    EXPECT_FALSE(unsound.sound) << breaking;
    EXPECT_EQ(unsound.text, "'" + std::string(breaking) + "'") << "for the trace";
    EXPECT_FALSE(statement("SET %s", unsound).sound) << "nor what it is part of";
  }
}

}  // namespace
