// Does not compile, which tests/CMakeLists.txt sees to: a text from outside where it would be syntax.
#include "db/connection.h"

void drop(Connection& db, const std::string& table) {
  db.run(untraced, "DROP TABLE `AP_CLIENT`.`%s`", table);
}
