// The least that a client can do to have the statements of a report cycle carried out: it connects
// as the program does and sends the statements of a file, each ended by a NUL, one at a time,
// waiting for each answer. A report cycle is compared with the time that it takes.
//
//   bench-replay FILE

#include <mysql.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  std::ifstream file(argv[1], std::ios::binary);
  const std::string statements{std::istreambuf_iterator<char>(file), {}};

  MYSQL* mysql = mysql_init(nullptr);
  mysql_options(mysql, MYSQL_SET_CHARSET_NAME, "latin1");
  if (mysql_real_connect(mysql, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0) == nullptr) {
    std::fprintf(stderr, "bench-replay: %s\n", mysql_error(mysql));
    return 1;
  }
  const char* end = statements.data() + statements.size();
  for (const char* next = statements.data(); next < end; next += std::strlen(next) + 1) {
    // A statement that fails now failed in the report cycle as well.
    if (mysql_real_query(mysql, next, static_cast<unsigned long>(std::strlen(next))) == 0 &&
        mysql_field_count(mysql) > 0) {
      mysql_free_result(mysql_store_result(mysql));
    }
  }
  mysql_close(mysql);
  return 0;
}
