#include "show/site.h"

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "control/command_file.h"
#include "entry/lock_file.h"
#include "platform/files.h"
#include "values/decimal.h"
#include "values/paths.h"

namespace show {

namespace {

/// An update, from its order to the AP's return, takes less than this, in seconds.
constexpr std::int64_t kLongestUpdate = 600;

/// Reports that may be missing before an AP counts as silent.
constexpr std::int64_t kPeriods = 3;

/// How many tables one statement queries.
constexpr std::size_t kTablesTogether = 100;

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char letter) { return letter >= 'a' && letter <= 'z' ? letter - 32 : letter; });
  return text;
}

State state_of(int status, ApAction action) {
  if (status == kConnected) {
    return State::connected;
  }
  switch (action) {
    case ApAction::update:
      return State::updating;
    case ApAction::reboot:
      return State::rebooting;
    case ApAction::none:
      break;
  }
  return State::gone;
}

std::string pending_of(const std::string& image, ApAction action) {
  if (!image.empty()) {
    return image.substr(image.rfind('/') + 1);
  }
  return action == ApAction::update ? "update" : action == ApAction::reboot ? "reboot" : "";
}

std::string date_before(std::time_t seconds) {
  const std::time_t then = std::time(nullptr) - seconds;
  std::tm local{};
  localtime_r(&then, &local);
  return M("%04d%02d%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

Age younger(Age a, Age b) {
  return a && b ? std::min(*a, *b) : a ? a : b;
}

}  // namespace

const char* state_name(State state) {
  constexpr const char* kNames[] = {"connected", "updating", "rebooting", "gone"};
  return kNames[static_cast<std::size_t>(state)];
}

std::vector<std::string> problems_of(const ApState& ap, std::int64_t period) {
  std::vector<std::string> problems;
  const Age silence = younger(ap.report_age, ap.state_age);
  if (ap.state == State::connected && silence && *silence > kPeriods * period) {
    problems.emplace_back("report old");
  }
  if (ap.command_age && *ap.command_age >= kSlotPatience) {
    problems.emplace_back("slot taken");
  }
  if (ap.lock_is_stale) {
    problems.emplace_back("lock old");
  }
  if (ap.pending_age && *ap.pending_age > kLongestUpdate) {
    problems.emplace_back("update stuck");
  }
  return problems;
}

Rows ask(Connection& db, const Query& query) {
  Rows rows = db.ask(query);
  if (!rows) {
    throw Unavailable("the database refused a query, or the connection was lost (see ap-check)");
  }
  return rows;
}

std::map<std::string, std::int64_t> ages_in(const std::string& directory) try {
  const std::int64_t now = std::time(nullptr);
  std::map<std::string, std::int64_t> ages;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (const std::int64_t made = my_file_create_time(entry.path()); made >= 0) {
      ages[entry.path().filename()] = now - made;  // otherwise it has gone meanwhile
    }
  }
  return ages;
} catch (const std::filesystem::filesystem_error& error) {
  throw Unavailable(directory + " cannot be read: " + error.code().message());
}

bool has_table(Connection& db, const SqlName& database, int sn) {
  return ask(db,
             "SELECT 1 FROM information_schema.TABLES WHERE `TABLE_SCHEMA`='%s' AND "
             "`TABLE_NAME`='AP_%03d'",
             database.text(), sn)
             .count() > 0;
}

std::optional<std::int64_t> number_in(const Row& row, unsigned int column) {
  return row[column] ? std::optional<std::int64_t>(decimal(*row[column])) : std::nullopt;
}

Age age_in(const Row& row, unsigned int column) {
  const Age age = number_in(row, column);
  return age ? Age(std::max<std::int64_t>(*age, 0)) : std::nullopt;
}

Site::Site() : db_("", {"nothing shown", Remedy::none}) {
  if (!db_.open()) {
    throw Unavailable("the database cannot be reached: " + my_mysql_refusal().text);
  }
  read_registry();
  read_reports();
  read_orders();
  read_files();
}

const ApState* Site::ap(int sn) const {
  const auto found = std::lower_bound(
      aps_.begin(), aps_.end(), sn, [](const ApState& one, int wanted) { return one.sn < wanted; });
  return found != aps_.end() && found->sn == sn ? &*found : nullptr;
}

ApState* Site::find(int sn) {
  return const_cast<ApState*>(ap(sn));  // NOLINT(cppcoreguidelines-pro-type-const-cast): our own
}

std::string Site::label(int sn) const {
  const ApState* found = ap(sn);
  return found == nullptr ? M("AP %d", sn) : found->label();
}

void Site::read_registry() {
  for (const Row& row :
       ask(db_,
           "SELECT `SN`, `MAC`, `Name`, `IP`, `Status`, `action`, `fw_version`, `fw_upgrade`, "
           "TIMESTAMPDIFF(SECOND, `STime`, NOW()), TIMESTAMPDIFF(SECOND, `ETime`, NOW()) FROM "
           "`%s`.`ap_list` ORDER BY `SN`",
           AP_INFO)) {
    ApState& ap = aps_.emplace_back();
    const auto action = static_cast<ApAction>(row.number(5));
    ap.sn = row.number(0);
    ap.mac = row.text(1);
    ap.name = row.text(2);
    ap.ip = row.text(3);
    ap.state = state_of(row.number(4), action);
    ap.firmware = row.text(6);
    ap.pending = pending_of(row.text(7), action);
    if (ap.state == State::connected) {
      ap.state_age = age_in(row, 8);
    } else if (ap.state == State::gone) {
      ap.state_age = age_in(row, 9);
    }
  }
}

void Site::read_reports() {
  for (const Row& row : ask(db_,
                            "SELECT `ap`, TIMESTAMPDIFF(SECOND, MAX(`utime`), NOW()) FROM "
                            "`%s`.`legal` WHERE `refer_ap`=0 GROUP BY `ap`",
                            AP_CLIENT)) {
    if (ApState* ap = find(row.number(0))) {
      ap->report_age = age_in(row, 1);
    }
  }
  ask_client_tables(
      [](int sn) {
        return statement(
            "SELECT %d, SUM(`channel`<=14), SUM(`channel`>14), TIMESTAMPDIFF(SECOND, "
            "MAX(`utime`), NOW()) FROM `%s`.`AP_%03d`",
            sn, AP_CLIENT, sn);
      },
      [&](const Row& row) {
        ApState* ap = find(row.number(0));
        ap->two_four_ghz = row.number(1);
        ap->five_ghz = row.number(2);
        ap->report_age = younger(ap->report_age, age_in(row, 3));
      });
  for (const Row& row : ask(db_,
                            "SELECT `refer_ap_sn`, COUNT(*) FROM `%s`.`block` GROUP BY "
                            "`refer_ap_sn`",
                            AP_CLIENT)) {
    if (ApState* ap = find(row.number(0))) {
      ap->refused = row.number(1);
    }
  }
}

/// When an action was ordered is only in the connection log; unknown if the user may not read it.
void Site::read_orders() {
  constexpr std::time_t kDay = 86'400;  // seconds
  if (std::none_of(aps_.begin(), aps_.end(),
                   [](const ApState& ap) { return !ap.pending.empty(); })) {
    return;
  }
  std::map<std::string, Age> orders;  // by message
  for (const std::time_t day : {std::time_t{0}, kDay}) {
    Query log =
        query(untraced,
              "SELECT `Msg`, TIMESTAMPDIFF(SECOND, MAX(`STime`), NOW()) FROM "
              "`%s_%s`.`ap_controller` WHERE `Msg` LIKE 'AP %% updated.' OR `Msg` LIKE 'AP %% "
              "rebooted.' GROUP BY `Msg`",
              CONNTRACK_LOG, SqlNumber{date_before(day)});
    log.may_lack_table = true;
    for (const Row& row : db_.ask(log)) {
      orders.emplace(row.text(0), age_in(row, 1));
    }
  }
  for (ApState& ap : aps_) {
    const bool reboots = ap.pending == "reboot";
    if (const auto order = orders.find("AP " + ap.name + (reboots ? " rebooted." : " updated."));
        !ap.pending.empty() && order != orders.end()) {
      ap.pending_age = order->second;
      if (ap.state == State::updating || ap.state == State::rebooting) {
        ap.state_age = order->second;
      }
    }
  }
}

void Site::read_files() {
  const std::string prefix = kSlotPrefix;
  const std::string ending = kDownloadEnding;
  std::map<std::string, std::vector<std::int64_t>> commands;
  for (const auto& [name, age] : ages_in(paths::kCommands)) {
    if (name.starts_with(prefix)) {
      const std::size_t end = name.ends_with(ending) ? ending.size() : 0;
      commands[upper(name.substr(prefix.size(), name.size() - prefix.size() - end))].push_back(age);
    }
  }
  std::map<std::string, std::int64_t> locks;
  for (const auto& [name, age] : ages_in(paths::kLocks)) {
    locks[upper(name)] = age;
  }
  for (ApState& ap : aps_) {
    if (const auto waiting = commands.find(ap.mac); waiting != commands.end()) {
      const auto oldest = std::max_element(waiting->second.begin(), waiting->second.end());
      ap.commands = static_cast<std::int64_t>(waiting->second.size());
      ap.command_age = std::max<std::int64_t>(*oldest, 0);
    }
    if (const auto lock = locks.find(ap.mac); lock != locks.end()) {
      ap.lock_age = std::max<std::int64_t>(lock->second, 0);
      ap.lock_is_stale = !is_lock_held(-lock->second, 0);
    }
  }
}

void Site::ask_client_tables(const std::function<Statement(int sn)>& part,
                             const std::function<void(const Row&)>& each) {
  std::vector<int> numbers;
  for (const Row& row :
       ask(db_,
           "SELECT SUBSTRING(`TABLE_NAME`, 4) FROM information_schema.TABLES WHERE "
           "`TABLE_SCHEMA`='%s' AND `TABLE_NAME` REGEXP '^AP_[0-9]+$'",
           AP_CLIENT.text())) {
    if (ap(row.number(0)) != nullptr) {
      numbers.push_back(row.number(0));
    }
  }
  std::sort(numbers.begin(), numbers.end());
  for (std::size_t i = 0; i < numbers.size(); i += kTablesTogether) {
    ask_tables(std::span(numbers).subspan(i, std::min(numbers.size() - i, kTablesTogether)), part,
               each);
  }
}

/// A table that has been dropped since makes the statement fail for all: then it asks half of them
/// at a time.
void Site::ask_tables(std::span<const int> numbers, const std::function<Statement(int sn)>& part,
                      const std::function<void(const Row&)>& each) {
  Query all{.step = untraced, .statement = {}, .may_lack_table = true};
  for (const int sn : numbers) {
    all.statement =
        statement("%s%s%s", all.statement,
                  sn == numbers.front() ? SqlName("") : SqlName(" UNION ALL "), part(sn));
  }
  if (Rows rows = db_.ask(all)) {
    for (const Row& row : rows) {
      each(row);
    }
  } else if (numbers.size() > 1) {
    ask_tables(numbers.first(numbers.size() / 2), part, each);
    ask_tables(numbers.subspan(numbers.size() / 2), part, each);
  } else {
    (void)ask(db_, "SELECT 1");  // it was the table, not the connection
  }
}

}  // namespace show
