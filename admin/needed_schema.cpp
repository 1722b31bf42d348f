#include "needed_schema.h"

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

#include "db/schema.h"
#include "platform/text.h"
#include "values/decimal.h"

namespace {

using Names = std::vector<std::string>;

constexpr const char* kSchemaFolder = "/usr/share/ap-run";

/// Columns of any type, from their names with blanks between them.
std::map<std::string, NeededColumn> columns_of(const char* names) {
  std::istringstream words(names);
  std::map<std::string, NeededColumn> columns;
  for (std::string word; words >> word;) {
    columns[word] = {};
  }
  return columns;
}

/// "`a`, `b`"
std::string quoted(const Names& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "`" : ", `") + name + "`";
  }
  return text;
}

std::set<std::string> set_of(const Names& names) {
  return {names.begin(), names.end()};
}

bool is_unique(const NeededKey& key) {
  return key.use != KeyUse::look_up;
}

bool serves(const Table::Key& found, const NeededKey& needed) {
  if (is_unique(needed)) {
    return found.unique && set_of(found.columns) == set_of(needed.columns);
  }
  return found.columns.size() >= needed.columns.size() &&
         std::equal(needed.columns.begin(), needed.columns.end(), found.columns.begin());
}

/// An additional unique key keeps out rows that belong in the table, unless it contains a needed
/// one.
bool refuses_rows(const Table::Key& found, const NeededTable& needed) {
  const std::set<std::string> columns = set_of(found.columns);
  bool any_unique = false;
  for (const NeededKey& key : needed.keys) {
    const std::set<std::string> wanted = set_of(key.columns);
    if (is_unique(key) &&
        std::includes(columns.begin(), columns.end(), wanted.begin(), wanted.end())) {
      return false;
    }
    any_unique = any_unique || is_unique(key);
  }
  return found.unique && any_unique;
}

/// What a column of an SQL type can hold.
struct Room {
  enum { other, text, number } kind = other;
  std::int64_t size = 0;  // bytes of a text, bits of the largest number
  bool is_signed = false;
};

Room room(const std::string& type) {
  static const std::map<std::string, Room> kTypes{{"char", {Room::text}},
                                                  {"varchar", {Room::text}},
                                                  {"binary", {Room::text}},
                                                  {"varbinary", {Room::text}},
                                                  {"tinytext", {Room::text, 255}},
                                                  {"text", {Room::text, 65'535}},
                                                  {"tinyint", {Room::number, 7}},
                                                  {"smallint", {Room::number, 15}},
                                                  {"mediumint", {Room::number, 23}},
                                                  {"int", {Room::number, 31}},
                                                  {"bigint", {Room::number, 63}}};
  static const std::regex kType("([a-z]+)(?:\\(([0-9]+)\\))?( unsigned)?.*");
  std::smatch match;
  const std::string plain = my_tolower(type);
  if (!std::regex_match(plain, match, kType) || !kTypes.contains(match[1])) {
    return {};
  }
  Room found = kTypes.at(match[1]);
  found.is_signed = found.kind == Room::number && !match[3].matched;
  if (found.kind == Room::number) {
    found.size += found.is_signed ? 0 : 1;
  } else if (found.size == 0) {
    found.size = decimal(match[2].str());
  }
  return found;
}

bool is_too_narrow(const std::string& type, const std::string& needed_type) {
  const Room found = room(type);
  const Room needed = room(needed_type);
  return found.kind == needed.kind &&
         (found.size < needed.size || (needed.is_signed && !found.is_signed));
}

std::string alter(const NeededTable& table, const std::string& change) {
  return "Run ALTER TABLE `" + table.database + "`.`" + table.table + "` " + change + ";";
}

Findings compare_column(const NeededTable& table, const std::string& name,
                        const Table::Column* found) {
  const std::string subject = table.database + "." + table.table + " ";
  const std::string as_shipped =
      table.schema_file.empty()
          ? "Drop the table: the program makes it anew with the AP's next report."
          : alter(table, "... `" + name + "` ...") + " with the definition that " + kSchemaFolder +
                "/" + table.schema_file + " gives the column.";
  if (found == nullptr) {
    return {{Severity::problem, "column-missing",
             subject + "has no column `" + name + "`: statements that name it fail.", as_shipped}};
  }
  const NeededColumn& needed = table.columns.at(name);
  const auto& [type, collation, extra] = *found;
  return amiss(
      {{is_too_narrow(type, needed.type),
        {Severity::warning, "column-narrow",
         subject + "has `" + name + "` as " + type + ": what does not fit is cut off.",
         as_shipped}},
       {needed.is_ssid && !collation.ends_with("nopad_bin") && !collation.empty() &&
            collation != "binary",
        {Severity::warning, "column-collation",
         subject + "compares `" + name + "` as " + collation +
             ", not byte for byte: networks are taken for each other whose names differ only in "
             "case or trailing blanks.",
         as_shipped}},
       {needed.numbers_rows && extra.find("auto_increment") == std::string::npos,
        {Severity::problem, "column-counter",
         subject + "does not number its rows: new APs get no serial number.", as_shipped}}});
}

Finding missing_key(const NeededTable& table, const NeededKey& key) {
  const std::string subject = table.database + "." + table.table + " ";
  const std::string columns = quoted(key.columns);
  if (!is_unique(key)) {
    return {Severity::warning, "key-missing",
            subject + "has no key that begins with " + columns + ": look-ups read the whole table.",
            alter(table, "ADD KEY (" + columns + ")")};
  }
  const bool pile_up = key.use == KeyUse::replace;
  return {pile_up ? Severity::problem : Severity::warning, "key-missing",
          subject + "has no unique key over " + columns +
              (pile_up ? ": rows pile up instead of being replaced."
                       : ": events of the same moment may leave two rows of one thing."),
          "Delete double rows. " + alter(table, "ADD UNIQUE KEY (" + columns + ")")};
}

/// Compares every table of the stations (of the poorly served ones) of an AP, which the program
/// makes itself: "AP_" and three digits at least.
Findings compare_per_ap(const Schema& schema, const std::string& database, const char* columns) {
  static const std::regex kName("AP_[0-9]{3,}");
  NeededTable needed{database, "", "", columns_of(columns), {{KeyUse::replace, {"mac"}}}};
  Findings findings;
  for (const auto& [name, table] : schema) {
    needed.table = name.substr(name.find('.') + 1);
    if (name.starts_with(database + ".") && std::regex_match(needed.table, kName)) {
      add(findings, compare_table(needed, table));
    }
  }
  return findings;
}

}  // namespace

NeededTable needed_log_table(const std::string& database) {
  const char* table = CONNTRACK_LOG_TABLE[kApControllerLog];
  return {database, table, "40-connection-log.sql", columns_of("stime program type msg"), {}};
}

Findings compare_table(const NeededTable& needed, const Table& found) {
  Findings findings;
  for (const auto& [name, column] : needed.columns) {
    const auto there = found.columns.find(name);
    add(findings,
        compare_column(needed, name, there == found.columns.end() ? nullptr : &there->second));
  }
  for (const NeededKey& key : needed.keys) {
    if (std::none_of(found.keys.begin(), found.keys.end(),
                     [&](const auto& named) { return serves(named.second, key); })) {
      findings.push_back(missing_key(needed, key));
    }
  }
  for (const auto& [name, key] : found.keys) {
    if (refuses_rows(key, needed)) {
      findings.push_back({Severity::problem, "key-too-narrow",
                          needed.database + "." + needed.table + " has the unique key `" + name +
                              "` over " + quoted(key.columns) +
                              ", which refuses or replaces rows that belong there.",
                          alter(needed, "DROP KEY `" + name + "`")});
    }
  }
  return findings;
}

Findings compare_schema(const Schema& schema) {
  Findings findings;
  std::map<std::string, std::string> missing;  // by the schema file that makes them
  for (const NeededTable& needed : needed_tables()) {
    const std::string name = needed.database + "." + needed.table;
    const auto found = schema.find(name);
    if (found == schema.end()) {
      std::string& names = missing[needed.schema_file];
      names += (names.empty() ? "" : ", ") + name;
    } else {
      add(findings, compare_table(needed, found->second));
    }
  }
  for (const auto& [file, names] : missing) {
    findings.push_back(
        {Severity::problem, "table-missing",
         "Not there, or not to be seen by the database user: " + names + ".",
         std::string("Apply ") + kSchemaFolder + "/" + file + ", or give the user the right."});
  }
  add(findings,
      compare_per_ap(
          schema, AP_CLIENT,
          "mac stime utime ssid aid channel tx_rate rx_rate rssi idle tx_seq rx_seq confirm"));
  add(findings, compare_per_ap(schema, AP_POOR_CLIENT,
                               "mac band ssid rssi status stime utime connection_time confirm"));
  return findings;
}
