#include "show/metrics.h"

#include <unistd.h>

#include <algorithm>

#include "control/command_file.h"
#include "entry/lock_file.h"
#include "show/site.h"
#include "values/paths.h"

namespace show {

namespace {

/// A command is written, and a report read, within seconds: what is older than this, in seconds,
/// has been left behind.
constexpr std::int64_t kLeftBehind = 60;

Metric gauge(const char* name, const char* help, std::int64_t value) {
  return {name, "gauge", help, {{name, "", value}}};
}

std::string label(const char* name, const std::string& value) {
  return std::string(name) + "=\"" + value + "\"";
}

/// How long ago the connected APs have reported.
Metric report_ages(const std::vector<ApState>& aps) {
  constexpr std::int64_t kLimits[] = {60, 120, 180, 300, 600, 1800, 3600};
  const std::string name = "ap_run_report_age_seconds";
  std::vector<std::int64_t> ages;
  std::int64_t sum = 0;
  for (const ApState& ap : aps) {
    // One that has never reported is as old as its join.
    if (const Age age = ap.report_age ? ap.report_age : ap.state_age;
        ap.state == State::connected && age) {
      ages.push_back(*age);
      sum += *age;
    }
  }
  Metric metric{
      "ap_run_report_age_seconds", "histogram", "Age of the last report of each connected AP.", {}};
  for (const std::int64_t limit : kLimits) {
    metric.samples.push_back(
        {name + "_bucket", label("le", std::to_string(limit)),
         std::count_if(ages.begin(), ages.end(), [&](std::int64_t age) { return age <= limit; })});
  }
  const auto count = static_cast<std::int64_t>(ages.size());
  metric.samples.push_back({name + "_bucket", label("le", "+Inf"), count});
  metric.samples.push_back({name + "_sum", "", sum});
  metric.samples.push_back({name + "_count", "", count});
  return metric;
}

std::int64_t number(Connection& db, const Query& query) {
  Rows rows = ask(db, query);
  const std::optional<Row> row = rows.next();
  return row ? row->number(0) : 0;
}

/// Adds what is in the database; returns the number of blocks whose AP is not there to lift them.
std::int64_t add_site(std::vector<Metric>& metrics) {
  Site site;
  Metric states{"ap_run_aps", "gauge", "Registered APs by state.", {}};
  std::int64_t two_four_ghz = 0;
  std::int64_t five_ghz = 0;
  std::int64_t pending = 0;
  std::int64_t lasting = 0;  // blocks of APs that can lift them
  for (const ApState& ap : site.aps()) {
    two_four_ghz += ap.two_four_ghz;
    five_ghz += ap.five_ghz;
    pending += ap.pending.empty() ? 0 : 1;
    lasting += ap.state == State::gone ? 0 : ap.refused;
  }
  for (const State state : {State::connected, State::updating, State::rebooting, State::gone}) {
    states.samples.push_back({states.name, label("state", state_name(state)),
                              std::count_if(site.aps().begin(), site.aps().end(),
                                            [&](const ApState& ap) { return ap.state == state; })});
  }
  metrics.push_back(std::move(states));
  metrics.push_back(report_ages(site.aps()));
  metrics.push_back({"ap_run_stations",
                     "gauge",
                     "Stations by band.",
                     {{"ap_run_stations", label("band", "2.4"), two_four_ghz},
                      {"ap_run_stations", label("band", "5"), five_ghz}}});
  const std::int64_t blocks =
      number(site.db(), query(untraced, "SELECT COUNT(*) FROM `%s`.`block`", AP_CLIENT));
  metrics.push_back(gauge("ap_run_blocks", "Stations that are refused.", blocks));
  metrics.push_back(gauge("ap_run_orders_pending",
                          "APs with an update or reboot that has been ordered.", pending));
  metrics.push_back(
      gauge("ap_run_foreign_radios", "Radios that APs hear and that belong to nobody known.",
            number(site.db(), query(untraced, "SELECT COUNT(*) FROM `%s`.`illegal`", AP_CLIENT))));
  return std::max<std::int64_t>(blocks - lasting, 0);
}

bool is_command(const std::string& name) {
  return name.starts_with(kSlotPrefix);
}

}  // namespace

std::vector<Metric> site_metrics() {
  std::vector<Metric> metrics{gauge("ap_run_database_up", "Whether the database can be read.", 1)};
  std::int64_t orphaned_blocks = 0;
  try {
    orphaned_blocks = add_site(metrics);
  } catch (const Unavailable&) {
    metrics.front().samples.front().value = 0;
    metrics.resize(1);
  }
  std::int64_t waiting = 0;
  std::int64_t oldest_command = 0;
  std::int64_t unfinished = 0;
  for (const auto& [name, age] : ages_in(paths::kCommands)) {
    waiting += is_command(name) ? 1 : 0;
    oldest_command = is_command(name) ? std::max(oldest_command, age) : oldest_command;
    unfinished += !is_command(name) && age > kLeftBehind ? 1 : 0;
  }
  std::int64_t oldest_lock = 0;
  std::int64_t stale = 0;
  for (const auto& [name, age] : ages_in(paths::kLocks)) {
    oldest_lock = std::max(oldest_lock, age);
    stale += is_lock_held(-age, 0) ? 0 : 1;
  }
  std::int64_t unread = 0;
  if (access(paths::kKeepReports, F_OK) != 0) {
    for (const auto& [name, age] : ages_in(paths::kReports)) {
      unread += age > kLeftBehind ? 1 : 0;
    }
  }
  metrics.push_back(gauge("ap_run_commands_waiting", "Commands that wait for APs.", waiting));
  metrics.push_back(gauge("ap_run_oldest_command_seconds",
                          "Age of the oldest of them; 0 without one.", oldest_command));
  metrics.push_back(
      gauge("ap_run_oldest_lock_seconds", "Age of the oldest lock; 0 without one.", oldest_lock));
  Metric lost{"ap_run_lost", "gauge", "What events that lost something have left behind.", {}};
  for (const auto& [what, count] : {std::pair("stale_lock", stale),
                                    {"unfinished_command", unfinished},
                                    {"unread_report", unread},
                                    {"orphaned_block", orphaned_blocks}}) {
    lost.samples.push_back({lost.name, label("what", what), count});
  }
  metrics.push_back(std::move(lost));
  return metrics;
}

std::string as_exposition(const std::vector<Metric>& metrics) {
  std::string text;
  for (const Metric& metric : metrics) {
    text += M("# HELP %s %s\n# TYPE %s %s\n", metric.name, metric.help, metric.name, metric.type);
    for (const Sample& sample : metric.samples) {
      text += sample.name + (sample.labels.empty() ? "" : "{" + sample.labels + "}") + " " +
              std::to_string(sample.value) + "\n";
    }
  }
  return text;
}

View as_view(const std::vector<Metric>& metrics) {
  Section section{"metrics",
                  "",
                  Layout::table,
                  {{"name", "NAME"}, {"labels", "LABELS"}, {"value", "VALUE", Unit::count}},
                  {}};
  for (const Metric& metric : metrics) {
    for (const Sample& sample : metric.samples) {
      section.records.push_back({sample.name, sample.labels, sample.value});
    }
  }
  return {std::move(section)};
}

}  // namespace show
