#include "schema_version.h"

#include <regex>

#include "db/schema.h"
#include "platform/text.h"
#include "shipped_files.h"
#include "values/decimal.h"

namespace {

/// The oldest version that all statements of the program work with.
constexpr int kNeededVersion = 1;

}  // namespace

int schema_version(const std::string& table_comment) {
  static const std::regex kMark("schema version ([0-9]+)");
  std::smatch match;
  return std::regex_search(table_comment, match, kMark) ? decimal_int(match[1].str()) : 1;
}

Findings compare_versions(int found, int needed, int shipped) {
  if (found > shipped) {
    return {{Severity::warning, "schema-newer",
             M("The schema has version %d, this ap-run knows %d.", found, shipped),
             "Install the ap-run that it was made for."}};
  }
  if (found == shipped) {
    return {};
  }
  const bool works = found >= needed;
  return {{works ? Severity::warning : Severity::problem, "schema-old",
           M("The schema has version %d, this ap-run comes with %d: %s.", found, shipped,
             works ? "what is new in it is missing" : "statements fail"),
           "As the server's administrator, apply /usr/share/ap-run/*.sql in the order of their "
           "names; rows stay."}};
}

Findings check_schema_version(Connection& db) {
  const std::optional<std::string> comment =
      db.ask(untraced,
             "SELECT `TABLE_COMMENT` FROM information_schema.TABLES WHERE `TABLE_SCHEMA`='%s' AND "
             "`TABLE_NAME`='ap_list'",
             AP_INFO.text())
          .first_text();
  return comment ? compare_versions(schema_version(*comment), kNeededVersion,
                                    schema_version(kShippedFiles[0].text))
                 : Findings{};
}
