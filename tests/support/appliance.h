#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "kit/child.h"
#include "kit/files.h"
#include "kit/sql.h"

// What a test needs inside lab/appliance: it starts the real program under its four names, puts
// files where the controller would, and looks at what came out.

using kit::content;
using kit::exists;
using kit::Lines;
using kit::lines_of;
using kit::names_in;
using kit::set_age;
using kit::Words;
using kit::write_file;

/// MACs and the address used by most tests.
inline const std::string kMac = "00:11:22:33:44:55";
inline const std::string kOtherMac = "00:11:22:33:44:66";
inline const std::string kAddress = "192.168.1.20";

/// Whether the appliance has processes, network and mounts of its own (or see lab/proot-sandbox).
bool has_namespaces();

/// Leaves a test out of an appliance without namespaces; `reason` says what is missing there.
#define NEEDS_NAMESPACES(reason)              \
  if (!has_namespaces()) {                    \
    GTEST_SKIP() << "no namespaces: " reason; \
  }                                           \
  static_assert(true)

/// Starts the program under the name words[0] with the other words as arguments.
kit::Child start_hook(const Words& words);

/// Starts a hook and waits for it; its exit status, or 128 and the signal that ended it.
int run_hook(const Words& words);

/// Polls until `done` holds, at most for 10 seconds; whether it came to hold.
bool eventually(const std::function<bool()>& done);

/// Waits until no helper program, or shell that is about to become one, runs in the background.
void wait_for_helpers();

std::string slot_of(const std::string& mac);

/// A file's text in which the digits of "time=..." are replaced by T.
std::string without_time(const std::string& text);

/// The lines that a helper program was called with, one a call, in the recorder's form.
Lines calls_of(const std::string& program);

/// The calls that the platform recorded for the controller.
Lines controller_calls();

/// Switches the trace of a key on.
void trace_on(const std::string& key);

/// The trace of a key as "operation: message", without dates, numbers and process ids; a message of
/// several lines stays one element.
Lines trace_of(const std::string& key);

/// The trace's lines of one operation, messages only.
Lines trace_of(const std::string& key, const std::string& operation);

/// Puts `lines` into /etc/ap-run/platform.ini.
void configure(const std::string& text);

/// Writes a report file and returns its path.
std::string deliver_report(const std::string& text);

/// Registers an AP that has been connected for `joined` seconds.
void register_ap(int sn, const std::string& mac, const std::string& name, int joined = 1000);

/// Runs a statement over a connection of the tests' own; one that fails ends the test.
std::vector<kit::SqlRow> sql(const std::string& statement);

/// The first column of the first row; empty without a row.
std::string sql_value(const std::string& statement);

/// Rows as text: columns joined by "|".
Lines sql_rows(const std::string& statement);

/// Forgets the connection, for tests that stop the server.
void disconnect_database();

/// Every test starts with empty tables and directories. When a test fails, its files are kept under
/// /var/failed, which lab/appliance keeps, and the way to run it alone is printed.
class HookTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
};

using Found = std::set<std::string>;

/// The names of what ap-check finds.
Found findings();
