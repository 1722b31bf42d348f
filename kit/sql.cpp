#include "kit/sql.h"

#include <mysql.h>

#include <stdexcept>

#include "kit/text.h"

namespace kit {

Database::Database() : mysql_(mysql_init(nullptr), mysql_close) {
  mysql_options(mysql_.get(), MYSQL_SET_CHARSET_NAME, "latin1");
  mysql_options(mysql_.get(), MYSQL_INIT_COMMAND, "SET SESSION sql_mode=''");
  if (mysql_real_connect(mysql_.get(), nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0) ==
      nullptr) {
    throw std::runtime_error(mysql_error(mysql_.get()));
  }
}

std::vector<SqlRow> Database::rows(std::string_view statement) {
  if (mysql_real_query(mysql_.get(), statement.data(),
                       static_cast<unsigned long>(statement.size())) != 0) {
    throw std::runtime_error(mysql_error(mysql_.get()) + std::string(" in ").append(statement));
  }
  std::vector<SqlRow> rows;
  const std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)> result(mysql_store_result(mysql_.get()),
                                                                mysql_free_result);
  while (MYSQL_ROW row = result == nullptr ? nullptr : mysql_fetch_row(result.get())) {
    const unsigned long* lengths = mysql_fetch_lengths(result.get());
    SqlRow& columns = rows.emplace_back();
    for (unsigned int i = 0; i < mysql_num_fields(result.get()); ++i) {
      columns.emplace_back(row[i] == nullptr ? "NULL" : std::string(row[i], lengths[i]));
    }
  }
  return rows;
}

std::string Database::value(std::string_view statement) {
  const std::vector<SqlRow> found = rows(statement);
  return found.empty() ? "" : found.front().front();
}

double Database::status(const std::string& name) {
  return std::stod(rows("SHOW GLOBAL STATUS LIKE '" + name + "'").front()[1]);
}

void Database::clear() {
  rows("TRUNCATE AP_INFO.ap_list");  // numbers begin with 1 again
  for (const char* table :
       {"AP_INFO.ap_profile", "AP_CLIENT.legal", "AP_CLIENT.illegal", "AP_CLIENT.block",
        "AP_CLIENT.client", "AP_USER.app_login", "AP_USER.client_name"}) {
    rows(std::string("DELETE FROM ") + table);
  }
  for (const SqlRow& row :
       rows("SELECT CONCAT(IF(TABLE_NAME='ap_controller', 'DELETE FROM ', 'DROP TABLE '), "
            "TABLE_SCHEMA, '.', TABLE_NAME) FROM information_schema.TABLES WHERE "
            "TABLE_NAME='ap_controller' OR TABLE_NAME LIKE 'AP\\_%' AND "
            "TABLE_SCHEMA IN ('AP_CLIENT', 'AP_POOR_CLIENT')")) {
    rows(row[0]);
  }
}

std::string sql_literal(std::string_view bytes) {
  std::string literal = "X'";
  for (const char byte : bytes) {
    literal += format("%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  }
  return literal + "'";
}

}  // namespace kit
