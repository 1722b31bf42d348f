#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "db/connection.h"
#include "db/schema.h"
#include "show/view.h"

// What tables and files say about the APs, for all views. Nothing here changes anything.

namespace show {

/// Something could not be looked at; what() says what, for the user.
struct Unavailable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

using Age = std::optional<std::int64_t>;  // in seconds; none: unknown or never

enum class State { connected, updating, rebooting, gone };

const char* state_name(State state);

struct ApState {
  int sn = 0;
  std::string mac, name, ip;
  State state = State::gone;
  Age state_age;
  Age report_age;                               // of the newest row that a report of it has left
  std::int64_t two_four_ghz = 0, five_ghz = 0;  // stations
  std::int64_t refused = 0;                     // stations
  std::string firmware;
  std::string pending;  // what has been ordered: the image's name, "update" or "reboot"
  Age pending_age;
  std::int64_t commands = 0;  // that wait in its slots
  Age command_age;            // of the oldest
  Age lock_age;
  bool lock_is_stale = false;

  std::string label() const { return name.empty() ? mac : name; }
  std::int64_t stations() const { return two_four_ghz + five_ghz; }
};

/// What is odd about an AP that should report every `period` seconds, in words.
std::vector<std::string> problems_of(const ApState& ap, std::int64_t period);

/// The rows of a query. Throws Unavailable when the server refuses it.
Rows ask(Connection& db, const Query& query);
template <typename... Values>
Rows ask(Connection& db, SqlLiteral<Values...> literal, const Values&... values) {
  return ask(db, query<Values...>(untraced, literal, values...));
}

/// The names in a directory and the ages of these files, which are negative when the clock has been set
/// back. Throws Unavailable when it cannot be read.
std::map<std::string, std::int64_t> ages_in(const std::string& directory);

/// Whether there is a table of AP `sn` in `database`. An AP that has not reported since it joined has none.
bool has_table(Connection& db, const SqlName& database, int sn);

/// A column of numbers, and one of ages, which are never negative; none for NULL.
std::optional<std::int64_t> number_in(const Row& row, unsigned int column);
Age age_in(const Row& row, unsigned int column);

class Site {
 public:
  /// Connects and reads the registry; throws Unavailable.
  Site();

  Connection& db() { return db_; }

  /// By serial number, rising.
  const std::vector<ApState>& aps() const { return aps_; }

  /// The AP of that number; null for one that is not registered.
  const ApState* ap(int sn) const;

  /// Its name, "AP 7" for one that is not registered.
  std::string label(int sn) const;

  /// Queries the station tables of all APs, many in one statement: `part` makes the query for one,
  /// `each` gets the rows.
  void ask_client_tables(const std::function<Statement(int sn)>& part,
                         const std::function<void(const Row&)>& each);

 private:
  void read_registry();
  void read_reports();
  void read_orders();
  void read_files();
  void ask_tables(std::span<const int> numbers, const std::function<Statement(int sn)>& part,
                  const std::function<void(const Row&)>& each);
  ApState* find(int sn);

  Connection db_;
  std::vector<ApState> aps_;
};

}  // namespace show
