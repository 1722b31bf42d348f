#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct st_mysql;

namespace kit {

/// A row's columns as texts, byte for byte; NULL is "NULL".
using SqlRow = std::vector<std::string>;

/// A connection to the appliance's database server, with latin1 and an empty sql_mode as the
/// program's own. What fails throws std::runtime_error with the server's message.
class Database {
 public:
  /// Connects as the current user, to the client library's default server.
  Database();

  /// Runs a statement and fetches all its rows.
  std::vector<SqlRow> rows(std::string_view statement);

  /// The first column of the first row; empty without a row.
  std::string value(std::string_view statement);

  /// A figure of SHOW GLOBAL STATUS.
  double status(const std::string& name);

  /// Empties every table that the system writes and drops the tables of the single APs.
  void clear();

 private:
  std::unique_ptr<st_mysql, void (*)(st_mysql*)> mysql_;
};

/// The bytes as a literal, whatever they are.
std::string sql_literal(std::string_view bytes);

}  // namespace kit
