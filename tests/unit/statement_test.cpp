#include "db/statement.h"

#include <gtest/gtest.h>

namespace {

using sql_form::Kind;
using sql_form::Misfit;

constexpr SqlName kTable{"ap_list"};

template <typename... Values>
constexpr Misfit misfit(std::string_view literal, const Values&... /*values*/) {
  return sql_form::misfit_of(literal,
                             std::array<Kind, sizeof...(Values)>{sql_form::kind_of<Values>()...});
}

TEST(Statement, TakesValuesOnlyWhereTheyCannotBecomeSyntax) {
  static_assert(misfit("`%s`.`AP_%03d` = '%s' %u", kTable, 7, "x", 7U) == Misfit::none);
  static_assert(misfit("'%s' '%d'", std::string_view(), 7) == Misfit::none);
  static_assert(misfit("'''' '%s'", "x") == Misfit::none);
  static_assert(misfit("%s", SqlNumber{"7"}) == Misfit::none);
  static_assert(misfit("'%s'", AsReceived{"7"}) == Misfit::none);
  static_assert(misfit("DATE_FORMAT(NOW(), '%%H')") == Misfit::none);

  static_assert(misfit("%s", "x") == Misfit::text_outside_quotes);
  static_assert(misfit("`%s`", std::string_view()) == Misfit::text_outside_quotes);
  static_assert(misfit("'a' %s 'b'", "x") == Misfit::text_outside_quotes);
  static_assert(misfit("%s", AsReceived{"7"}) == Misfit::text_outside_quotes);
  static_assert(misfit("'%s'", kTable) == Misfit::name_between_quotes);
  static_assert(misfit("'%s'", SqlNumber{"7"}) == Misfit::name_between_quotes);
  static_assert(misfit("%d", "7") == Misfit::number_expected);
  static_assert(misfit("'%s'", 7) == Misfit::text_expected);
  static_assert(misfit("%d", 7U) == Misfit::sign_differs);
  static_assert(misfit("%u", 7) == Misfit::sign_differs);
  static_assert(misfit("%d %d", 7) == Misfit::too_few_values);
  static_assert(misfit("%d", 7, 7) == Misfit::too_many_values);
  static_assert(misfit("%lu", 7U) == Misfit::unknown_conversion);
  static_assert(misfit("100%") == Misfit::too_few_values);
  static_assert(misfit("'it") == Misfit::open_quotes);
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
