#pragma once

#include <map>
#include <string>
#include <vector>

#include "finding.h"

// The tables, columns and keys that the program needs, and their comparison with a server's. Names of
// columns are in lower case.

/// Why a table should have a key.
enum class KeyUse {
  replace,  // unique; decides which row a REPLACE replaces
  single,   // unique; keeps a second row of the same thing out
  look_up,  // for speed only; a longer key that begins with it serves as well
};

struct NeededKey {
  KeyUse use;
  std::vector<std::string> columns;
};

struct NeededColumn {
  std::string type;   // its SQL type; empty: any
  bool is_ssid;       // has to compare byte for byte
  bool numbers_rows;  // the server numbers the rows in it
};

struct NeededTable {
  std::string database;
  std::string table;
  std::string schema_file;  // the shipped file that makes it; empty: the program does
  std::map<std::string, NeededColumn> columns;
  std::vector<NeededKey> keys;
};

/// A server's table.
struct Table {
  struct Column {
    std::string type;       // as in "varchar(20)"
    std::string collation;  // empty when the column holds no text
    std::string extra;      // what else the server says, as in "auto_increment"
  };
  struct Key {
    bool unique;
    std::vector<std::string> columns;  // in the key's order
  };
  std::map<std::string, Column> columns;
  std::map<std::string, Key> keys;
};

/// A server's tables by "database.table".
using Schema = std::map<std::string, Table>;

/// Every table that has to exist beforehand, as the shipped schema files make it.
const std::vector<NeededTable>& needed_tables();

/// The table of connection-log database `database`.
NeededTable needed_log_table(const std::string& database);

/// Compares one table.
Findings compare_table(const NeededTable& needed, const Table& found);

/// Compares everything but the connection log.
Findings compare_schema(const Schema& schema);
