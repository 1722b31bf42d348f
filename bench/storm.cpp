#include <thread>

#include "building.h"
#include "figures.h"
#include "kit/files.h"
#include "kit/text.h"
#include "measured_run.h"
#include "sections.h"

namespace {

struct Storm {
  std::string title;
  double wall_ms = 0;
  std::vector<double> each_ms;
  int failed = 0;
  std::string rows, connections;
  int commands = 0, logged = 0;
};

/// All APs join at once from addresses of `network`, "a.b".
Storm storm(Server& server, const std::string& title, const std::string& network, int aps) {
  using kit::format;
  say("join storm: " + title);
  Storm storm{title, 0, {}, 0, "", "", 0, 0};
  const std::string log =
      "CONNTRACK_LOG_" + server.value("SELECT DATE_FORMAT(NOW(), '%Y%m%d')") + ".ap_controller";
  server.rows("DELETE FROM " + log);
  for (int ap = 1; ap <= aps; ++ap) {
    kit::write_file("/database/ap/info/" + ap_mac(ap),
                    "[SYSTEM]\nversion=2.1.0\nethernet_num=2\nwget_update=1\n"
                    "[5G]\nchannel1=x,17,,1,,36,,40,\n");
    fetch_command(ap);
  }
  server.rows("FLUSH STATUS");
  const double refused = server.status("Connection_errors_max_connections");
  kit::Pipe gate;
  kit::Pipe said;
  std::vector<kit::Child> joins;
  for (int ap = 1; ap <= aps; ++ap) {
    const std::string address = network + format(".%d.%d", ap / 256, ap % 256);
    joins.push_back(
        start_measured({"/usr/sbin/ap-up", address, ap_mac(ap)}, gate.read_end(), said));
  }
  std::this_thread::sleep_for(std::chrono::seconds(1));  // until all of them wait
  const kit::Stopwatch watch;
  gate.close_write_end();
  for (const std::string& line : kit::lines_of(said.rest())) {
    const kit::Usage usage = usage_of(line);
    storm.each_ms.push_back(usage.wall_ms);
    storm.failed += usage.status == 0 ? 0 : 1;
  }
  storm.wall_ms = watch.ms();
  for (kit::Child& join : joins) {
    storm.failed += join.finish().status == 0 ? 0 : 1;  // could not even be measured
  }
  storm.rows = server.value(
      "SELECT CONCAT(COUNT(*), ', ', SUM(Status = 1 AND fw_version = '2.1.0' AND wired_max = 2 AND "
      "5G_channel_list_1 LIKE '36 %' AND IP LIKE '" +
      network + ".%')) FROM AP_INFO.ap_list");
  storm.connections = format("%.0f, %.0f", server.status("Max_used_connections"),
                             server.status("Connection_errors_max_connections") - refused);
  storm.logged =
      std::stoi(server.value("SELECT COUNT(*) FROM " + log + " WHERE Msg LIKE '%is connected.'"));
  for (int ap = 1; ap <= aps; ++ap) {
    storm.commands += command_of(ap).empty() ? 0 : 1;
  }
  return storm;
}

}  // namespace

Section measure_storm(Bench& bench) {
  Server& server = bench.server;
  const int aps = bench.effort == Effort::quick ? 50 : 200;
  server.clear();
  std::vector<Storm> storms;
  storms.push_back(storm(server, "Nobody knows the APs yet", "10.1", aps));
  server.rows("UPDATE AP_INFO.ap_list SET Status = 0, IP = '0.0.0.0'");
  storms.push_back(storm(server, "They are known and come back", "10.2", aps));

  using S = const Storm&;
  Section section{"Join storm", {storms[0].title, storms[1].title}, {}, ""};
  section.rows = rows_of<Storm>(
      storms,
      {{"wall clock", "ms", [](S s) { return s.wall_ms; }},
       {"slowest process", "ms", [](S s) { return quantile(s.each_ms, 1); }},
       {"median process", "ms", [](S s) { return median(s.each_ms); }},
       {"processes that did not exit with 0", "", [](S s) { return s.failed; }},
       {"rows, and right ones", "", [](S s) { return s.rows; }},
       {"release commands", "", [](S s) { return s.commands; }},
       {"connection-log rows", "", [](S s) { return s.logged; }},
       {"most connections at once, and refused ones", "", [](S s) { return s.connections; }}});
  section.note = kit::format(
      "%d joins at once, %u processors, %s connections allowed.\nCompare the rows with the right "
      "ones, and the slowest process with the time after which the controller gives up.",
      aps, std::thread::hardware_concurrency(), server.value("SELECT @@max_connections").c_str());
  return section;
}
