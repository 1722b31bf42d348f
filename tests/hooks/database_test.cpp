
#include <csignal>
#include <thread>

#include "db/ap.h"
#include "db/connection.h"
#include "db/registry.h"
#include "support/appliance.h"

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

class Database : public HookTest {};

/// An open connection of the test's own.
class TestConnection : public Connection {
 public:
  TestConnection() : Connection(kMac, {"test", Remedy::none}) { EXPECT_TRUE(open()); }

  std::string id() { return ask(untraced, "SELECT CONNECTION_ID()").first_text().value_or(""); }
};

Query profile_query(int sn) {
  return query(untraced, "SELECT SSID FROM AP_INFO.ap_profile WHERE SN=%d", sn);
}

TEST_F(Database, AnswersBelongToTheirQueries) {
  TestConnection db;
  db.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (5, 'five')");
  const Query bad = query(untraced, "SELECT nothing FROM nowhere");
  for (const Query& query : {profile_query(5), bad, profile_query(6)}) {
    db.fetch_ahead(query);
  }
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (SN, MAC) VALUES (41, 'A')");
  EXPECT_EQ(db.peek(profile_query(5)).first_text(), "five");
  EXPECT_EQ(db.ask(profile_query(5)).first_text(), "five") << "peeking takes nothing away";
  db.run(untraced, "UPDATE AP_INFO.ap_profile SET SSID='six' WHERE SN=5");
  EXPECT_EQ(db.ask(profile_query(5)).first_text(), "six") << "an answer is taken once";
  EXPECT_FALSE(db.ask(bad));
  Rows empty = db.ask(profile_query(6));
  EXPECT_TRUE(empty);
  EXPECT_EQ(empty.count(), 0U);
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (MAC) VALUES ('B')");
  EXPECT_EQ(db.insert_id(), 42U);
  db.run(untraced, "INSERT INTO AP_INFO.ap_list (MAC) VALUES ('B')");
  EXPECT_EQ(db.insert_id(), 0U) << "the key refused it";
}

TEST_F(Database, FactsAreRememberedOnceFoundAndAskedAgainForTheTrace) {
  TestConnection db;
  EXPECT_EQ(get_profile_ssid_by_sn(db, 5), std::nullopt);
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (5, 'five')");
  EXPECT_EQ(get_profile_ssid_by_sn(db, 5)->text(), "five") << "nothing found is not remembered";
  sql("UPDATE AP_INFO.ap_profile SET SSID='six'");
  EXPECT_EQ(get_profile_ssid_by_sn(db, 5)->text(), "five");
  trace_on(kMac);
  EXPECT_EQ(get_profile_ssid_by_sn(db, 5)->text(), "six");
}

TEST_F(Database, ManyStatementsAndLongRowsGoAheadOfTheirAnswers) {
  TestConnection db;
  const auto numbered = [](int i) {
    return query(untraced, "SELECT REPEAT('x', 100000), '%s', %d", std::string(400, 'y'), i);
  };
  for (int i = 0; i < 300; ++i) {
    db.fetch_ahead(numbered(i));
  }
  for (int i = 299; i >= 0; --i) {
    Rows rows = db.ask(numbered(i));
    const std::optional<Row> row = rows.next();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->number(2), i);
    EXPECT_EQ((*row)[0]->size(), 100000U);
  }
}

TEST_F(Database, AProcessHasOneServerConnectionAndReplacesALostOne) {
  TestConnection outer;
  outer.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'x')");
  {
    TestConnection nested;
    EXPECT_EQ(nested.id(), outer.id());
    EXPECT_EQ(get_profile_sn_by_ssid(nested, "x"), 1) << "what the outer one sent is there";
  }
  const std::string lost = outer.id();
  sql("KILL " + lost);
  EXPECT_EQ(outer.id(), "");
  ASSERT_TRUE(outer.open());
  EXPECT_NE(outer.id(), lost);
}

TEST_F(Database, WhatWasSentIsThereAtClose) {
  for (int i = 0; i < 50; ++i) {
    TestConnection db;
    db.run(untraced, "REPLACE INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, '%d')", i);
    db.close();
    EXPECT_EQ(sql_value("SELECT SSID FROM AP_INFO.ap_profile"), std::to_string(i));
  }
}

TEST_F(Database, ConnectionsAreLaxAndLatin1) {
  TestConnection db;
  EXPECT_EQ(db.ask(untraced, "SELECT @@SESSION.sql_mode").first_text(), "");
  EXPECT_EQ(db.ask(untraced, "SELECT @@character_set_client").first_text(), "latin1");
  db.run(untraced, "LOAD DATA LOCAL INFILE '/etc/passwd' INTO TABLE AP_INFO.ap_profile");
  db.run(untraced, "DO 1; INSERT INTO AP_INFO.ap_profile (SN) VALUES (9)");
  EXPECT_EQ(db.ask(untraced, "SELECT COUNT(*) FROM AP_INFO.ap_profile").first_text(), "0");
}

TEST_F(Database, AFailureStandsBelowItsStatement) {
  trace_on(kMac);
  TestConnection db;
  db.run(Step("one"), "INSERT INTO AP_INFO.nowhere VALUES ('%s')", "x");
  EXPECT_FALSE(
      db.ask_noting_none(query(Step("two", "(1/2) "), "SELECT nothing FROM AP_INFO.ap_list")));
  db.run(untraced, "DROP TABLE AP_INFO.nowhere");
  db.run(Step("three"), "UPDATE AP_INFO.ap_list SET Name='%s'", AsReceived{"it's"});
  const std::string missing = "failed: 1146 Table 'AP_INFO.nowhere' doesn't exist";
  const std::string unknown = "failed: 1051 Unknown table 'AP_INFO.nowhere'";
  EXPECT_EQ(trace_of(kMac),
            (Lines{"one: INSERT INTO AP_INFO.nowhere VALUES ('x')", "one: " + missing,
                   "two: (1/2) SELECT nothing FROM AP_INFO.ap_list",
                   "two: (1/2) failed: 1054 Unknown column 'nothing' in 'SELECT'",
                   "database: DROP TABLE AP_INFO.nowhere " + unknown,
                   "three: UPDATE AP_INFO.ap_list SET Name='it's'",
                   "three: not sent: a value would break the statement"}));
}

TEST_F(Database, ATransactionIsSeenWholeAndRepeatedWhenUndone) {
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, ''), (2, ''), (3, ''), (4, '')");
  TestConnection db;
  int runs = 0;
  db.in_transaction(Step("test"), [&] {
    db.run(untraced, "UPDATE AP_INFO.ap_profile SET SSID=CONCAT(SSID, 'a') WHERE SN=1");
    EXPECT_TRUE(db.ask(profile_query(1)));
    EXPECT_EQ(sql_value("SELECT SSID FROM AP_INFO.ap_profile WHERE SN=1"), runs == 0 ? "" : "b");
    if (++runs == 1) {  // a rival with more to lose holds what we want next, and wants what we hold
      std::thread([] {
        EXPECT_EQ(std::system("mariadb -e \"BEGIN; UPDATE AP_INFO.ap_profile SET SSID='b' WHERE SN "
                              "> 1; UPDATE AP_INFO.ap_profile SET SSID='b' WHERE SN = 1; COMMIT\""),
                  0);
      }).detach();
      EXPECT_TRUE(eventually([] {
        return sql_value(
                   "SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE INFO LIKE 'UPDATE % SN = 1'") ==
               "1";
      }));
    }
    db.run(untraced, "UPDATE AP_INFO.ap_profile SET SSID=CONCAT(SSID, 'a') WHERE SN=2");
  });
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(sql_rows("SELECT SSID FROM AP_INFO.ap_profile ORDER BY SN"),
            (Lines{"ba", "ba", "b", "b"}));
}

TEST_F(Database, ATransactionThatWaitedTooLongForALockIsRepeated) {
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'x')");
  sql("SET GLOBAL innodb_lock_wait_timeout=1");
  int runs = 0;
  {
    TestConnection db;
    sql("BEGIN");
    sql("UPDATE AP_INFO.ap_profile SET SSID='held' WHERE SN=1");
    db.in_transaction(Step("test"), [&] {
      if (++runs == 2) {
        sql("COMMIT");
      }
      db.run(untraced, "UPDATE AP_INFO.ap_profile SET SSID='ours' WHERE SN=1");
    });
  }
  sql("COMMIT");
  sql("SET GLOBAL innodb_lock_wait_timeout=DEFAULT");
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(sql_value("SELECT SSID FROM AP_INFO.ap_profile"), "ours");
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
    TestConnection db;
    EXPECT_EQ(db.ask(untraced, "SELECT USER()").first_text(), "hook@localhost");
    EXPECT_EQ(db.ask(untraced, "SELECT @@character_set_client").first_text(), "utf8mb4");
  }
  my_mysql_release();
  sql("DROP USER hook@localhost");
}

TEST_F(Database, SsidsAreBytes) {
  std::string every_byte;
  for (int i = 0; i < 256; ++i) {
    every_byte += static_cast<char>(i);
  }
  TestConnection db;
  for (std::size_t at = 0; at < every_byte.size(); at += 32) {
    const std::string ssid = every_byte.substr(at, 32);
    const int sn = static_cast<int>(at / 32) + 1;
    db.run(untraced, "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (%d, '%s')", sn, ssid);
    EXPECT_EQ(get_profile_sn_by_ssid(db, ssid), sn);
    EXPECT_EQ(get_profile_ssid_by_sn(db, sn)->text(), SqlText::escaped(ssid)->text());
  }
  EXPECT_EQ(get_profile_sn_by_ssid(db, every_byte.substr('a', 5)), 0);
}

TEST_F(Database, RegistryFindsMacsInEitherCase) {
  register_ap(7, "00:aa:bb:cc:dd:ee", "Lobby");
  sql("INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (3, ''), (4, 'it\\'s')");
  TestConnection db;
  EXPECT_EQ(get_ap_sn_by_mac(db, "00:aa:BB:cc:dd:ee"), 7);
  EXPECT_EQ(get_ap_name_by_mac(db, "00:AA:BB:CC:DD:EE"), "Lobby");
  EXPECT_EQ(get_ap_ip_by_mac(db, "00:aa:bb:cc:dd:ee"), kAddress);
  EXPECT_EQ(get_ap_sn_by_mac(db, kMac), 0);
  EXPECT_EQ(get_ap_name_by_mac(db, kMac), std::nullopt);
  EXPECT_EQ(get_ap_ip_by_mac(db, "' OR '1'='1"), std::nullopt);
  EXPECT_EQ(get_profile_sn_by_ssid(db, "^o^"), 3);
  EXPECT_EQ(get_profile_sn_by_ssid(db, "it's"), 4);
  EXPECT_EQ(get_profile_ssid_by_sn(db, 4)->text(), "it\\'s");
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
  std::vector<kit::Database> others(10);
  const std::string before = refused();
  kit::Child hook = start_hook({"ap-up", kAddress, kMac});
  EXPECT_TRUE(eventually([&] { return refused() != before; }));
  std::this_thread::sleep_for(seconds(4));  // longer than for a silent server
  others.clear();
  EXPECT_EQ(hook.finish().status, 0);
  sql("SET GLOBAL max_connections=DEFAULT");
  EXPECT_EQ(sql_value("SELECT Status FROM AP_INFO.ap_list"), "1");
}

TEST_F(Database, AHangingServerHoldsNobodyForLong) {
  NEEDS_NAMESPACES("proot lets a stopped process run on");
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
  kit::Child waiter([] {
    for (;;) {
      Connection db(kMac, {"test", Remedy::none});
      if (!db.open()) {
        return 0;
      }
      (void)db.ask(untraced, "SELECT SLEEP(9)");
    }
  });
  const auto start = steady_clock::now();
  EXPECT_EQ(waiter.finish().status, 0);
  const auto waited = steady_clock::now() - start;
  EXPECT_GE(waited, seconds(18));
  EXPECT_LT(waited, seconds(22));
  sql("KILL " +
      sql_value("SELECT ID FROM information_schema.PROCESSLIST WHERE INFO LIKE '%SLEEP(9)'"));
}

}  // namespace
