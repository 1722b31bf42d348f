#include <sys/wait.h>

#include <csignal>
#include <thread>

#include "db/connection.h"
#include "db/registry.h"
#include "db/set_action.h"
#include "support/appliance.h"

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

class Database : public HookTest {};

/// The trace key of connections that a test opens itself: none.
constexpr const char* kNoKey = nullptr;

std::string first_text(Rows rows) {
  const std::optional<Row> row = rows.next();
  return row ? row->text(0) : "(no row)";
}

TEST_F(Database, AnswersBelongToTheirStatements) {
  Connection db(kNoKey);
  ASSERT_TRUE(db);
  const Question one = db.ask(untraced, "SELECT 1");
  db.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (5, 'five')");
  const Question bad = db.ask(untraced, "SELECT nothing FROM nowhere");
  const Question none = db.ask(untraced, "SELECT SSID FROM AP_INFO.ap_profile WHERE SN=6");
  const Question five = db.ask(untraced, "SELECT SSID FROM AP_INFO.ap_profile WHERE SN=5");
  EXPECT_EQ(first_text(five.rows()), "five");
  EXPECT_FALSE(bad.rows());
  EXPECT_EQ(first_text(one.rows()), "1");
  Rows empty = none.rows();
  EXPECT_TRUE(empty);
  EXPECT_EQ(empty.count(), 0U);
}

TEST_F(Database, InsertIdIsThatOfTheLastStatement) {
  Connection db(kNoKey);
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (SN, MAC) VALUES (41, 'A')");
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (MAC) VALUES ('B')");
  EXPECT_EQ(db.insert_id(), 42U);
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (MAC) VALUES ('B')");
  EXPECT_EQ(db.insert_id(), 0U) << "the key refused it";
}

TEST_F(Database, ManyStatementsAndLongRowsGoAheadOfTheirAnswers) {
  Connection db(kNoKey);
  std::vector<Question> questions;
  for (int i = 0; i < 300; ++i) {
    questions.push_back(
        db.ask(untraced, "SELECT REPEAT('x', 100000), '%s', %d", std::string(400, 'y').c_str(), i));
  }
  for (int i = 299; i >= 0; --i) {
    Rows rows = questions[static_cast<std::size_t>(i)].rows();
    const std::optional<Row> row = rows.next();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->number(2), i);
    EXPECT_EQ((*row)[0]->size(), 100000U);
  }
}

TEST_F(Database, OperationsShareOneServerConnection) {
  const auto id = [](Connection& db) {
    return first_text(db.ask(untraced, "SELECT CONNECTION_ID()").rows());
  };
  std::string first;
  {
    Connection db(kNoKey);
    first = id(db);
    db.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'x')");
    const Question outer = db.ask(untraced, "SELECT 'outer'");
    {
      Connection nested(kNoKey);
      EXPECT_EQ(id(nested), first);
      EXPECT_EQ(get_profile_sn_by_ssid(nested, "x"), 1) << "what the outer one sent is there";
      EXPECT_EQ(nested.close(), 0);
    }
    EXPECT_EQ(first_text(outer.rows()), "outer");
    sql("KILL " + first);
    Connection nested(kNoKey);
    EXPECT_TRUE(nested) << "the lost connection of the outer one is not shared";
    EXPECT_NE(id(nested), first);
    EXPECT_NE(db.close(), 0);
    first = id(nested);
  }
  Connection db(kNoKey);
  EXPECT_EQ(id(db), first);
  EXPECT_EQ(db.close(), 0);
  sql("KILL " + first);
  Connection again(kNoKey);
  ASSERT_TRUE(again) << "a dropped connection is replaced";
  EXPECT_NE(id(again), first);
}

TEST_F(Database, WhatWasSentIsThereAtClose) {
  for (int i = 0; i < 50; ++i) {
    Connection db(kNoKey);
    db.run(untraced, "REPLACE INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, '%d')", i);
    EXPECT_EQ(db.close(), 0);
    EXPECT_EQ(sql_value("SELECT SSID FROM AP_INFO.ap_profile"), std::to_string(i));
  }
}

TEST_F(Database, ConnectionsAreLaxAndLatin1) {
  Connection db(kNoKey);
  EXPECT_EQ(first_text(db.ask(untraced, "SELECT @@SESSION.sql_mode").rows()), "");
  EXPECT_EQ(first_text(db.ask(untraced, "SELECT @@character_set_client").rows()), "latin1");
  db.run(untraced, "LOAD DATA LOCAL INFILE '/etc/passwd' INTO TABLE AP_INFO.ap_profile");
  db.run(untraced, "DO 1; INSERT INTO AP_INFO.ap_profile (SN) VALUES (9)");
  EXPECT_EQ(first_text(db.ask(untraced, "SELECT COUNT(*) FROM AP_INFO.ap_profile").rows()), "0");
}

TEST_F(Database, NoServersModeChangesEscaping) {
  register_ap(1, kMac, "Lobby");
  sql("SET GLOBAL sql_mode='NO_BACKSLASH_ESCAPES'");
  EXPECT_EQ(run_hook({"ap-command", "10", "-", "\\') OR 1=1 -- "}), 0);
  sql("SET GLOBAL sql_mode=DEFAULT");
  EXPECT_EQ(sql_value("SELECT action FROM AP_INFO.ap_list"), "0");
}

TEST_F(Database, OptionFileNamesTheServerAndTheCharacterSet) {
  write_file("/etc/ap-run/database.cnf",
             "[client]\nuser=hook\npassword=secret\n[ap-run]\ndefault-character-set=utf8mb4\n");
  sql("CREATE OR REPLACE USER hook@localhost IDENTIFIED BY 'secret'");
  sql("GRANT ALL ON AP_INFO.* TO hook@localhost");
  my_mysql_release();
  {
    Connection db(kNoKey);
    EXPECT_EQ(first_text(db.ask(untraced, "SELECT USER()").rows()), "hook@localhost");
    EXPECT_EQ(first_text(db.ask(untraced, "SELECT @@character_set_client").rows()), "utf8mb4");
  }
  my_mysql_release();
  sql("DROP USER hook@localhost");
}

TEST_F(Database, SsidsAreBytes) {
  std::string every_byte;
  for (int i = 0; i < 256; ++i) {
    every_byte += static_cast<char>(i);
  }
  Connection db(kNoKey);
  for (std::size_t at = 0; at < every_byte.size(); at += 32) {
    const std::string ssid = every_byte.substr(at, 32);
    const int sn = static_cast<int>(at / 32) + 1;
    db.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (%d, '%s')", sn,
           sql_text(ssid).c_str());
    EXPECT_EQ(get_profile_sn_by_ssid(db, ssid), sn);
    EXPECT_EQ(get_profile_ssid_by_sn(db, sn), sql_text(ssid));
  }
  EXPECT_EQ(get_profile_sn_by_ssid(db, every_byte.substr('a', 5)), 0);
}

TEST_F(Database, RegistryFindsMacsInEitherCase) {
  register_ap(7, "00:aa:bb:cc:dd:ee", "Lobby");
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (3, ''), (4, 'it\\'s')");
  Connection db(kNoKey);
  EXPECT_EQ(get_ap_sn_by_mac(db, "00:aa:BB:cc:dd:ee"), 7);
  EXPECT_EQ(get_ap_name_by_mac(db, "00:AA:BB:CC:DD:EE"), "Lobby");
  EXPECT_EQ(get_ap_ip_by_mac(db, "00:aa:bb:cc:dd:ee"), kAddress);
  EXPECT_EQ(get_ap_sn_by_mac(db, kMac), 0);
  EXPECT_EQ(get_ap_name_by_mac(db, kMac), std::nullopt);
  EXPECT_EQ(get_ap_ip_by_mac(db, "' OR '1'='1"), std::nullopt);
  EXPECT_EQ(get_profile_sn_by_ssid(db, "^o^"), 3);
  EXPECT_EQ(get_profile_sn_by_ssid(db, "it's"), 4);
  EXPECT_EQ(get_profile_ssid_by_sn(db, 4), "it\\'s");
  EXPECT_EQ(get_profile_ssid_by_sn(db, 5), std::nullopt);
}

TEST_F(Database, AbsentServerSkipsOnlyItsOwnWork) {
  trace_on(kMac);
  disconnect_database();
  ASSERT_EQ(std::system("lab-db-stop"), 0);
  const std::string path = deliver_report("[00]\nversion=1\n");
  const auto start = steady_clock::now();
  EXPECT_EQ(run_hook({"ap-command", "1", path, kAddress, kMac}), 0);
  EXPECT_EQ(run_hook({"ap-command", "10", "-", kMac}), 0);
  write_file(slot_of(kOtherMac), "");
  EXPECT_EQ(run_hook({"ap-down", kOtherMac}), 0);
  EXPECT_FALSE(exists(slot_of(kOtherMac)));
  EXPECT_LT(steady_clock::now() - start, seconds(3));
  ASSERT_EQ(std::system("lab-db-start"), 0);
  EXPECT_FALSE(exists(path));
  EXPECT_TRUE(exists(slot_of(kMac)));
  EXPECT_EQ(names_in("/database/ap/lock"), Lines{});
}

TEST_F(Database, AFullServerIsAskedAgain) {
  const auto refused = [] {
    return sql("SHOW GLOBAL STATUS LIKE 'Connection_errors_max_connections'")[0][1];
  };
  sql("SET GLOBAL max_connections=10");  // and one for the administrator
  my_mysql_release();
  std::vector<FILE*> others;
  for (int i = 0; i < 10; ++i) {
    others.push_back(popen("exec mariadb", "we"));
  }
  EXPECT_TRUE(
      eventually([] { return sql("SHOW GLOBAL STATUS LIKE 'Threads_connected'")[0][1] == "11"; }));
  const std::string before = refused();
  const pid_t hook = start_hook({"ap-up", kAddress, kMac});
  EXPECT_TRUE(eventually([&] { return refused() != before; }));
  std::this_thread::sleep_for(seconds(4));  // longer than for a silent server
  for (FILE* client : others) {
    pclose(client);
  }
  EXPECT_EQ(finish(hook), 0);
  sql("SET GLOBAL max_connections=DEFAULT");
  EXPECT_EQ(sql_value("SELECT Status FROM AP_INFO.ap_list"), "1");
}

TEST_F(Database, AHangingServerHoldsNobodyForLong) {
  const pid_t server = std::stoi(content("/run/mysqld/mysqld.pid"));
  kill(server, SIGSTOP);
  const std::string path = deliver_report("[00]\nversion=1\n");
  const auto start = steady_clock::now();
  EXPECT_EQ(run_hook({"ap-command", "1", path, kAddress, kMac}), 0);
  const auto waited = steady_clock::now() - start;
  kill(server, SIGCONT);
  EXPECT_LT(waited, seconds(5)) << "one connect that times out is enough";
  EXPECT_TRUE(exists(slot_of(kMac)));
}

TEST_F(Database, AServerThatHangsAgainAndAgainIsGivenUp) {
  // Every answer takes 9 seconds, just below the limit of a single one.
  const pid_t waiter = fork();
  if (waiter == 0) {
    for (;;) {
      Connection db(kNoKey);
      if (!db) {
        _exit(0);
      }
      (void)db.ask(untraced, "SELECT SLEEP(9)").rows();
    }
  }
  const auto start = steady_clock::now();
  EXPECT_EQ(finish(waiter), 0);
  const auto waited = steady_clock::now() - start;
  EXPECT_GE(waited, seconds(18));
  EXPECT_LT(waited, seconds(22));
}

}  // namespace
