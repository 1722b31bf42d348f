#include "needed_schema.h"

#include <algorithm>
#include <sstream>

#include "db/schema.h"
#include "platform/text.h"

namespace {

using Names = std::vector<std::string>;

constexpr const char* kSchemaFolder = "/usr/share/ap-run";

Names words(const std::string& text) {
  std::istringstream stream(text);
  Names names;
  for (std::string word; stream >> word;) {
    names.push_back(word);
  }
  return names;
}

/// "`a`, `b`"
std::string quoted(const Names& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "`" : ", `") + name + "`";
  }
  return text;
}

Names lower(Names names) {
  std::transform(names.begin(), names.end(), names.begin(), my_tolower);
  return names;
}

/// In lower case and in order, as for a set.
Names sorted(const Names& names) {
  Names plain = lower(names);
  std::sort(plain.begin(), plain.end());
  return plain;
}

bool is_unique(const NeededKey& key) {
  return key.use != KeyUse::look_up;
}

bool serves(const Table::Key& found, const NeededKey& needed) {
  if (is_unique(needed)) {
    return found.unique && sorted(found.columns) == sorted(needed.columns);
  }
  const Names first = lower(found.columns);
  const Names wanted = lower(needed.columns);
  return first.size() >= wanted.size() && std::equal(wanted.begin(), wanted.end(), first.begin());
}

/// A unique key beside the needed ones keeps rows out that belong in, unless it contains one.
bool refuses_rows(const Table::Key& found, const NeededTable& needed) {
  if (!found.unique) {
    return false;
  }
  const Names columns = sorted(found.columns);
  bool any_unique = false;
  for (const NeededKey& key : needed.keys) {
    if (is_unique(key)) {
      any_unique = true;
      const Names wanted = sorted(key.columns);
      if (std::includes(columns.begin(), columns.end(), wanted.begin(), wanted.end())) {
        return false;
      }
    }
  }
  return any_unique;
}

class Comparison {
 public:
  Comparison(const NeededTable& needed, const Table& found) : needed_(needed), found_(found) {}

  Findings findings() {
    compare_columns();
    compare_keys();
    return std::move(findings_);
  }

 private:
  void note(Severity severity, const char* name, const std::string& what,
            const std::string& advice) {
    findings_.push_back(
        {severity, name, needed_.database + "." + needed_.table + " " + what, advice});
  }

  std::string alter(const std::string& change) const {
    return "ALTER TABLE `" + needed_.database + "`.`" + needed_.table + "` " + change + ";";
  }

  std::string as_shipped(const std::string& column) const {
    if (needed_.schema_file.empty()) {
      return "Drop the table: the program makes it anew with the AP's next report.";
    }
    return "Run " + alter("... " + quoted({column}) + " ...") + " with the definition that " +
           kSchemaFolder + "/" + needed_.schema_file + " gives the column.";
  }

  void compare_columns() {
    for (const std::string& name : needed_.columns) {
      if (!found_.columns.contains(my_tolower(name))) {
        note(Severity::problem, "column-missing",
             "has no column " + quoted({name}) + ": statements that name it fail.",
             as_shipped(name));
      }
    }
    for (const std::string& name : needed_.byte_columns) {
      const auto column = found_.columns.find(my_tolower(name));
      if (column != found_.columns.end() && !column->second.collation.ends_with("nopad_bin") &&
          !column->second.collation.empty() && column->second.collation != "binary") {
        note(Severity::warning, "column-collation",
             "compares " + quoted({name}) + " as " + column->second.collation +
                 ", not byte for byte: networks are taken for each other whose names differ only "
                 "in case or trailing blanks.",
             as_shipped(name));
      }
    }
    const auto counter = found_.columns.find(my_tolower(needed_.counter));
    if (counter != found_.columns.end() &&
        counter->second.extra.find("auto_increment") == std::string::npos) {
      note(Severity::problem, "column-counter",
           "does not number its rows: new APs get no serial number.", as_shipped(needed_.counter));
    }
  }

  void compare_keys() {
    for (const NeededKey& key : needed_.keys) {
      const bool there = std::any_of(found_.keys.begin(), found_.keys.end(),
                                     [&](const auto& named) { return serves(named.second, key); });
      if (!there) {
        note_missing(key);
      }
    }
    for (const auto& [name, key] : found_.keys) {
      if (refuses_rows(key, needed_)) {
        note(Severity::problem, "key-too-narrow",
             "has the unique key " + quoted({name}) + " over " + quoted(key.columns) +
                 ", which refuses or replaces rows that belong there.",
             "Run " + alter("DROP KEY " + quoted({name})));
      }
    }
  }

  void note_missing(const NeededKey& key) {
    const std::string columns = quoted(key.columns);
    const bool pile_up = key.use == KeyUse::replace;
    if (is_unique(key)) {
      note(pile_up ? Severity::problem : Severity::warning, "key-missing",
           "has no unique key over " + columns +
               (pile_up ? ": rows pile up instead of being replaced."
                        : ": events of the same moment may leave two rows of one thing."),
           "Delete double rows, then run " + alter("ADD UNIQUE KEY (" + columns + ")"));
    } else {
      note(Severity::warning, "key-missing",
           "has no key that begins with " + columns + ": look-ups read the whole table.",
           "Run " + alter("ADD KEY (" + columns + ")"));
    }
  }

  const NeededTable& needed_;
  const Table& found_;
  Findings findings_;
};

/// Whether `name` is the name of an AP's own table: "AP_" and three digits at least.
bool is_per_ap(const std::string& name) {
  constexpr std::size_t kPrefix = 3;
  constexpr std::size_t kDigits = 3;
  return name.starts_with("AP_") && name.size() >= kPrefix + kDigits &&
         name.find_first_not_of("0123456789", kPrefix) == std::string::npos;
}

/// Compares every table of the stations (of the poorly served ones) of an AP, which the program
/// makes itself.
Findings compare_per_ap(const Schema& schema, const std::string& database, const char* columns) {
  NeededTable needed{database, "", "", words(columns), {}, {{KeyUse::replace, {"mac"}}}, ""};
  const std::string prefix = needed.database + ".";
  Findings findings;
  for (auto found = schema.lower_bound(prefix);
       found != schema.end() && found->first.starts_with(prefix); ++found) {
    needed.table = found->first.substr(prefix.size());
    if (is_per_ap(needed.table)) {
      add(findings, compare_table(needed, found->second));
    }
  }
  return findings;
}

}  // namespace

NeededTable needed_log_table(const std::string& database) {
  const char* table = CONNTRACK_LOG_TABLE[kApControllerLog];
  return {database, table, "40-connection-log.sql", words("STime Program Type Msg"), {}, {}, ""};
}

Findings compare_table(const NeededTable& needed, const Table& found) {
  return Comparison(needed, found).findings();
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
