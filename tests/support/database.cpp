#include "support/database.h"

#include <gtest/gtest.h>
#include <mysql.h>

#include <memory>

namespace {

std::unique_ptr<MYSQL, void (*)(MYSQL*)> connection(nullptr, mysql_close);

MYSQL* connected() {
  if (!connection) {
    connection.reset(mysql_init(nullptr));
    mysql_options(connection.get(), MYSQL_SET_CHARSET_NAME, "latin1");
    mysql_options(connection.get(), MYSQL_INIT_COMMAND, "SET SESSION sql_mode=''");
    if (mysql_real_connect(connection.get(), nullptr, "root", nullptr, nullptr, 0,
                           "/run/mysqld/mysqld.sock", 0) == nullptr) {
      ADD_FAILURE() << mysql_error(connection.get());
    }
  }
  return connection.get();
}

}  // namespace

void disconnect_database() {
  connection.reset();
}

std::vector<std::vector<std::string>> sql(const std::string& statement) {
  MYSQL* mysql = connected();
  if (mysql_real_query(mysql, statement.data(), statement.size()) != 0) {
    ADD_FAILURE() << mysql_error(mysql) << " in " << statement;
    return {};
  }
  std::vector<std::vector<std::string>> rows;
  MYSQL_RES* result = mysql_store_result(mysql);
  if (result == nullptr) {
    return rows;
  }
  while (MYSQL_ROW row = mysql_fetch_row(result)) {
    const unsigned long* lengths = mysql_fetch_lengths(result);
    std::vector<std::string> columns;
    for (unsigned int i = 0; i < mysql_num_fields(result); ++i) {
      columns.emplace_back(row[i] == nullptr ? "NULL" : std::string(row[i], lengths[i]));
    }
    rows.push_back(std::move(columns));
  }
  mysql_free_result(result);
  return rows;
}

std::string sql_value(const std::string& statement) {
  const auto rows = sql(statement);
  return rows.empty() ? "" : rows.front().front();
}

std::vector<std::string> sql_rows(const std::string& statement) {
  std::vector<std::string> texts;
  for (const auto& row : sql(statement)) {
    std::string text;
    for (const std::string& column : row) {
      text += (&column == &row.front() ? "" : "|") + column;
    }
    texts.push_back(std::move(text));
  }
  return texts;
}

void reset_database() {
  sql("TRUNCATE AP_INFO.ap_list");
  for (const char* table :
       {"AP_INFO.ap_profile", "AP_CLIENT.legal", "AP_CLIENT.illegal", "AP_CLIENT.block",
        "AP_CLIENT.client", "AP_USER.app_login", "AP_USER.client_name"}) {
    sql(std::string("DELETE FROM ") + table);
  }
  for (const auto& row : sql("SELECT TABLE_SCHEMA, TABLE_NAME FROM information_schema.TABLES WHERE "
                             "TABLE_SCHEMA IN ('AP_CLIENT','AP_POOR_CLIENT') AND TABLE_NAME LIKE "
                             "'AP\\_%'")) {
    sql("DROP TABLE " + row[0] + "." + row[1]);
  }
  for (const auto& row : sql("SELECT TABLE_SCHEMA FROM information_schema.TABLES WHERE TABLE_NAME='"
                             "ap_controller'")) {
    sql("DELETE FROM " + row[0] + ".ap_controller");
  }
}
