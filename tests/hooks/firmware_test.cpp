#include <sys/prctl.h>

#include <csignal>
#include <filesystem>

#include "control/update_tool.h"
#include "support/appliance.h"
#include "values/visible_text.h"

namespace fs = std::filesystem;
using std::chrono::seconds;
using std::chrono::steady_clock;

namespace {

const std::string kImage = "/firmware/ap-2.1.bin";
const std::string kSyncName = "sync_" + kMac + ".dat";
const std::string kSync = "/var/tmp/sync/" + kSyncName;
const std::string kUpdateSlot = slot_of(kMac) + ".update";
const std::string kTool = "-c update -m " + kMac;
const Words kBringImage{"ap-command", "3", kImage, kMac};
const Words kCheck{"ap-command", "8", kAddress, kMac};

class Firmware : public HookTest {
 protected:
  void SetUp() override {
    HookTest::SetUp();
    register_ap(7, kMac, "Lobby");
    trace_on(kMac);
    configure("[settings]\n1 = 80\n");
    write_file(kImage, "image");
    write_file(kSync, "settings");
  }
};

void support_downloads() {
  write_file("/database/ap/support/" + kMac + ".update", "");
}

void set_ap(const std::string& assignments) {
  sql("UPDATE AP_INFO.ap_list SET " + assignments);
}

std::string update_state() {
  return sql_rows("SELECT action, Status, IP, fw_upgrade FROM AP_INFO.ap_list").front();
}

/// What an offer has left behind: the command, the link's target and the firewall rules, of which
/// the last four count.
std::string offer_of(const std::string& name) {
  std::error_code none;
  std::string text =
      content(kUpdateSlot) + fs::read_symlink("/var/ap_update/" + name, none).string();
  const Lines rules = calls_of("iptables");
  for (std::size_t i = rules.size() < 4 ? 0 : rules.size() - 4; i < rules.size(); ++i) {
    text += "\n" + rules[i];
  }
  fs::remove(kUpdateSlot);
  return text;
}

std::string offer(const std::string& type, const std::string& path, const std::string& ip) {
  return "[command]\ntype=" + type + "\nwget_filename=" + fs::path(path).filename().string() +
         "\nwget_port=80\n" + path + "\n-t filter -D ap_update_in -s " + ip +
         " -j ACCEPT\n-t filter -D ap_update_out -d " + ip +
         " -j ACCEPT\n-t filter -A ap_update_in -s " + ip +
         " -j ACCEPT\n-t filter -A ap_update_out -d " + ip + " -j ACCEPT";
}

TEST_F(Firmware, ACapableApIsOfferedFilesForDownload) {
  support_downloads();
  EXPECT_EQ(run_hook(kBringImage), 0);
  EXPECT_EQ(offer_of("ap-2.1.bin"), offer("3", kImage, kAddress));
  EXPECT_EQ(update_state(), "2|0|0.0.0.0|" + kImage);
  const Lines trace = trace_of(kMac);
  ASSERT_EQ(trace.size(), 11U);
  EXPECT_TRUE(trace[0].starts_with("get_ap_name_by_mac: ")) << trace[0];
  EXPECT_TRUE(trace[1].ends_with("11, 'AP Lobby updated.')")) << trace[1];
  EXPECT_TRUE(trace[3].starts_with("get_ap_ip_by_mac: ")) << trace[3];
  EXPECT_EQ(trace[4], "setAction: Called by func(command), action: 2 " + kImage);
  EXPECT_EQ(trace[9], "wum_update_check: /sbin/iptables -t filter -A ap_update_out -d " + kAddress +
                          " -j ACCEPT");
  EXPECT_TRUE(trace[10].starts_with("ap_conf_set: [command]\ntype=3\n")) << trace[10];

  write_file(slot_of(kMac), "an ordinary command does not hold downloads up");
  fs::create_directories("/firmware/next");
  fs::copy_file(kImage, "/firmware/next/ap-2.1.bin");
  set_ap("IP='10.0.0.9'");
  EXPECT_EQ(run_hook({"ap-command", "3", "/firmware/next/ap-2.1.bin", kMac}), 0);
  EXPECT_EQ(offer_of("ap-2.1.bin"), offer("3", kImage, "10.0.0.9")) << "the link stays";
  EXPECT_EQ(update_state(), "2|0|0.0.0.0|/firmware/next/ap-2.1.bin");
  set_ap("fw_upgrade=''");
  EXPECT_EQ(run_hook(kCheck), 0);
  EXPECT_EQ(offer_of(kSyncName), offer("8", kSync, kAddress));
  EXPECT_EQ(calls_of("wum"), Lines{});
  EXPECT_EQ(controller_calls(), Lines{});
}

TEST_F(Firmware, ABusyFirewallIsAskedAgain) {
  support_downloads();
  write_file("/recorded/iptables.behaviour", "exit 4\n");
  kit::Child hook = start_hook(kBringImage);
  EXPECT_TRUE(eventually([] { return calls_of("iptables").size() >= 2; }));
  fs::remove("/recorded/iptables.behaviour");
  EXPECT_EQ(hook.finish().status, 0);
  EXPECT_GT(calls_of("iptables").size(), 4U);
  EXPECT_EQ(offer_of("ap-2.1.bin"), offer("3", kImage, kAddress));
  set_ap("IP='" + kAddress + "'");
  write_file("/recorded/iptables.behaviour", "exit 1\n");
  EXPECT_EQ(run_hook(kBringImage), 0);
  fs::remove("/recorded/iptables.behaviour");
  EXPECT_TRUE(eventually([] {
    return content("/recorded/syslog").find(" -j ACCEPT\" ended with 1\n") != std::string::npos;
  }));
}

TEST_F(Firmware, AnotherApGetsItsImageThroughTheToolAndAfterThatItsSyncFile) {
  for (const char* nothing : {"/firmware", "/firmware/gone.bin", ""}) {
    EXPECT_EQ(run_hook({"ap-command", "3", nothing, kMac}), 0);
  }
  EXPECT_EQ(update_state(), "0|1|" + kAddress + "|");

  set_ap("fw_upgrade='" + kImage + "'");
  write_file("/recorded/wum.behaviour", "sleep 1.5\n");
  kit::Child hook = start_hook(kCheck);
  ASSERT_TRUE(eventually([] { return !calls_of("wum").empty(); }));
  const auto asleep = steady_clock::now();
  EXPECT_TRUE(eventually([] {
    return sql_value("SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE USER='root'") ==
           "1";
  }));
  EXPECT_LT(steady_clock::now() - asleep, seconds(1)) << "a connection was kept for the tool";
  EXPECT_EQ(hook.finish().status, 0);
  EXPECT_GT(steady_clock::now() - asleep, seconds(1)) << "it was not waited for";
  EXPECT_EQ(trace_of(kMac).back(), "command: /usr/sbin/wum " + kTool + " -f " + kImage);
  EXPECT_EQ(update_state(), "2|0|0.0.0.0|" + kImage);
  EXPECT_EQ(controller_calls(), Lines{"AH_deleteRelative " + kMac});

  fs::remove(kImage);
  write_file("/recorded/wum.behaviour", "sleep 30\n");
  EXPECT_EQ(run_hook(kCheck), 0);
  EXPECT_EQ(update_state(), "0|0|0.0.0.0|");
  ASSERT_TRUE(eventually([] { return calls_of("wum").size() == 2; }));
  EXPECT_EQ(calls_of("wum"), (Lines{kTool + " -f " + kImage, kTool + " -i " + kSync + " -t 8"}));
  EXPECT_EQ(trace_of(kMac).back(),
            "command: /usr/sbin/wum " + kTool + " -i " + kSync + " -t 8 > /dev/null 2>&1 &");
  EXPECT_EQ(content("/recorded/wum.descriptors"), "\n\n") << "it was handed descriptors";
  const std::string before = content("/recorded/syslog");
  kill_update_tool(kMac, "");
  EXPECT_TRUE(eventually([&] { return content("/recorded/syslog") != before; }))
      << "the tool outlives the hook";
}

TEST_F(Firmware, APendingImageSurvivesARejoinAndIsThenOffered) {
  EXPECT_EQ(run_hook(kBringImage), 0);
  write_file("/database/ap/info/" + kMac, "[SYSTEM]\nwget_update=1\n");
  EXPECT_EQ(run_hook({"ap-up", "10.0.0.9", kMac}), 0);
  EXPECT_EQ(update_state(), "2|0|10.0.0.9|" + kImage);
  EXPECT_EQ(run_hook({"ap-command", "8", "10.0.0.9", kMac}), 0);
  EXPECT_EQ(offer_of("ap-2.1.bin"), offer("3", kImage, "10.0.0.9"));
  EXPECT_EQ(update_state(), "2|0|0.0.0.0|" + kImage);
  fs::remove(kImage);
  fs::remove(slot_of(kMac));
  EXPECT_EQ(run_hook({"ap-up", "10.0.0.9", kMac}), 0);
  EXPECT_EQ(update_state(), "0|1|10.0.0.9|");
}

TEST_F(Firmware, WithoutAnAddressTheToolDoesTheWork) {
  support_downloads();
  const auto expect_declined = [](const Words& hook, const std::string& address) {
    trace_on(kMac);
    fs::remove("/recorded/wum");
    EXPECT_EQ(run_hook(hook), 0);
    EXPECT_EQ(trace_of(kMac, "wum_update_check"),
              Lines{"declined: no address to open the firewall for: \"" + address + "\""});
    EXPECT_TRUE(eventually([] { return calls_of("wum").size() == 1; })) << address;
  };
  for (const std::string address : {"0.0.0.0", "", "10.0.0.9 -j DROP", "-6"}) {
    set_ap("fw_upgrade='', IP='" + address + "'");
    expect_declined({"ap-command", "8", address, kMac}, address);
    expect_declined(kBringImage, address);
  }
  sql("DELETE FROM AP_INFO.ap_list");
  expect_declined(kBringImage, "");
  disconnect_database();
  ASSERT_EQ(std::system("lab-db-stop"), 0);
  expect_declined(kBringImage, "");
  ASSERT_EQ(std::system("lab-db-start"), 0);
  EXPECT_EQ(offer_of("ap-2.1.bin") + offer_of(kSyncName), "");
}

TEST_F(Firmware, APathIsOneArgumentAndRunsNothing) {
  const std::string hostile = "/firmware/it's; \"a\" $(touch /tmp/run)`touch /tmp/run`\n& b.bin";
  fs::create_directories(fs::path(hostile).parent_path());
  write_file(hostile, "image");
  support_downloads();
  EXPECT_EQ(run_hook({"ap-command", "3", hostile, kMac}), 0);
  EXPECT_EQ(run_hook(kCheck), 0) << "through a child process";
  const std::string tool = kTool +
                           " -f /firmware/it's;\\x20\"a\"\\x20$(touch\\x20/tmp/run)`touch\\x20/"
                           "tmp/run`\\x0A&\\x20b.bin";
  EXPECT_EQ(calls_of("wum"), (Lines{tool, tool})) << "no line of a command can hold its name";
  EXPECT_EQ(trace_of(kMac).back(),
            "command: /usr/sbin/wum " + kTool + " -f " + visible_text(hostile));
  EXPECT_EQ(update_state(), "2|0|0.0.0.0|" + hostile);
  EXPECT_FALSE(exists("/tmp/run"));
}

/// Starts a process named `name`, with `words` at the end of its command line, that waits to be
/// ended.
kit::Child start_idle(const std::string& name, const std::string& words) {
  fs::create_directories("/tmp/tools");
  const std::string program = "/tmp/tools/" + name;
  if (!exists(program)) {
    fs::create_symlink("/build/bin/lab-recorder", program);
  }
  kit::Child process({program, {"idle", words}, {}});
  const std::string line = "/proc/" + std::to_string(process.id()) + "/cmdline";
  EXPECT_TRUE(eventually([&] { return content(line).starts_with("idle"); })) << program;
  return process;
}

TEST_F(Firmware, ANewToolEndsTheRunningOnesOfItsApAlone) {
  fs::remove_all("/database/ap/debug");
  write_file("/recorded/idle.behaviour", "sleep 60\n");
  const std::string words = "-m " + kMac + " -f /firmware/old.bin";
  std::vector<kit::Child> spared;
  for (const std::string& other : {"-m " + kOtherMac + " -f /firmware/old.bin",
                                   std::string(230, 'x') + "-m " + kMac, "-n a\n" + words}) {
    spared.push_back(start_idle("wum", other));
  }
  for (const char* name : {"wumd", "Wum", "(wum)", "wum) (x", "x) (wum", "wum "}) {
    spared.push_back(start_idle(name, words));
  }
  const std::string within_limit = std::string(229, 'x') + "-m " + kMac;
  kit::Child syncing = start_idle("wum", within_limit);
  kit::Child updating = start_idle("wum", words);
  const kit::Child churn([] {  // processes that come and go
    for (;;) {
      kit::Child([] { return prctl(PR_SET_NAME, "wum"); }).finish();
    }
    return 0;
  });
  for (int walk = 0; walk < 50; ++walk) {
    kill_update_tool("no such text", "");
  }
  EXPECT_EQ(run_hook(kBringImage), 0);
  EXPECT_EQ(updating.finish().status, 128 + SIGTERM);
  EXPECT_TRUE(syncing.runs()) << "it carries no firmware";
  set_ap("fw_upgrade=''");
  EXPECT_EQ(run_hook(kCheck), 0);
  EXPECT_EQ(syncing.finish().status, 128 + SIGTERM);
  for (const kit::Child& process : spared) {
    EXPECT_TRUE(process.runs()) << content(kit::format("/proc/%d/cmdline", process.id()));
  }
  std::string log;
  for (const std::string& line : lines_of(content("/recorded/syslog"))) {
    log += line.substr(0, 4) + line.substr(line.find(": [")) + "\n";
  }
  EXPECT_EQ(log, "<10>: [idle " + words + " ](/firmware/) /bin/kill " +
                     std::to_string(updating.id()) + "\n<10>: [idle " + within_limit +
                     "]() /bin/kill " + std::to_string(syncing.id()) + "\n");
}

}  // namespace
