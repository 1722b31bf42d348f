#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

#include "steering/choice.h"
#include "steering/demand.h"
#include "steering/mac_filter.h"

namespace {

std::minstd_rand dice(4711);

int roll(int most) {
  return static_cast<int>(dice() % static_cast<unsigned>(most + 1));
}

TEST(Demand, MovesWhatTheNeighboursCanTakeOrTheEvenShare) {
  struct Case {
    int amount;
    std::vector<int> neighbours;
    int ret;
  };
  for (const Case& c : std::vector<Case>{{4, {}, 0},
                                         {50, {}, 0},
                                         {6, {1, 2}, 3},
                                         {7, {1, 2}, 3},
                                         {8, {5}, 1},
                                         {5, {10}, -3},
                                         {4, {3}, 0},
                                         {4, {2}, 1},
                                         {4, {3, 3}, 0},
                                         {5, {3, 3}, 1}}) {
    EXPECT_EQ(stations_to_move(c.amount, c.neighbours), c.ret) << c.amount;
  }
  Demand demand(8);
  demand.add_neighbour(5);
  const Share share = share_of(demand);
  EXPECT_EQ(std::tuple(demand.users, demand.avail, demand.diff), std::tuple(5, 0, 2));
  EXPECT_EQ(std::tuple(share.avg, share.whole, share.max), std::tuple(3, false, 4));
}

TEST(Demand, LeavesNobodyWithMoreThanTheEvenShare) {
  for (int round = 0; round < 2000; ++round) {
    std::vector<int> neighbours(static_cast<std::size_t>(roll(20)));
    int room = 0;
    int all = 0;
    for (int& clients : neighbours) {
      clients = roll(20);
      room += std::max(0, 3 - clients);
      all += clients;
    }
    const int amount = 4 + roll(256);
    const int ret = stations_to_move(amount, neighbours);
    const int even = static_cast<int>(
        std::ceil((amount + all) / (1.0 + static_cast<double>(neighbours.size()))));
    EXPECT_LE(ret, amount - 3);
    EXPECT_EQ(amount - ret, room >= amount - 3 && !neighbours.empty() ? 3 : even)
        << "what the AP keeps";
  }
}

TEST(Choice, BlocksKeepTheLimitAndTakeNobodyTwice) {
  for (int round = 0; round < 500; ++round) {
    std::set<int> block_table;
    for (int ap = 0; ap < 5; ++ap) {
      std::vector<int> clients(40);
      std::generate(clients.begin(), clients.end(), [n = roll(60)]() mutable { return n++; });
      std::shuffle(clients.begin(), clients.end(), dice);
      std::vector<BlockCandidate> candidates;
      for (const int client : clients) {
        candidates.push_back({static_cast<std::size_t>(roll(2)), block_table.contains(client)});
      }
      const int limit = roll(12);
      const std::vector<std::size_t> chosen = choose_blocks(candidates, limit);
      EXPECT_LE(static_cast<int>(chosen.size()), limit);
      EXPECT_TRUE(std::is_sorted(chosen.begin(), chosen.end()));
      NumberedLines lines("block");
      std::string expected;
      for (const std::size_t i : chosen) {
        EXPECT_GT(candidates[i].alternatives, 0U);
        EXPECT_TRUE(block_table.insert(clients[i]).second) << "twice in the whole table";
        expected +=
            "block" + std::to_string(lines.count()) + "=" + std::to_string(clients[i]) + "\n";
        lines.add(std::to_string(clients[i]));
      }
      EXPECT_EQ(lines.text(), expected);
      const std::size_t end = static_cast<int>(chosen.size()) == limit && limit > 0
                                  ? chosen.back()
                                  : (limit == 0 ? 0 : candidates.size());
      for (std::size_t i = 0; i < end; ++i) {
        EXPECT_TRUE(candidates[i].alternatives == 0 || block_table.contains(clients[i]))
            << "passed over";
      }
    }
  }
}

TEST(Choice, ABlockStaysWhileTheFirstServingNeighbourIsFound) {
  std::vector<int> asked;
  const auto serves = [&](int ap) { return asked.push_back(ap), ap == 8; };
  EXPECT_EQ(serving_neighbour(std::vector{7, 8, 9}, serves), 8);
  EXPECT_EQ(asked, (std::vector{7, 8}));
  EXPECT_EQ(serving_neighbour(std::vector{7, 9}, serves), std::nullopt);
  EXPECT_EQ(serving_neighbour({}, serves), std::nullopt);
}

TEST(Choice, AllBlocksGoForAnSsidOutOfHearingThatHoldsSome) {
  using Hearing = std::optional<std::uint64_t>;
  const std::vector<Hearing> hearing{1, std::nullopt, 0, 0, 0};
  std::vector<std::size_t> asked;
  const auto due = [&](std::size_t holder) {
    return must_release_all(
        hearing.size(), [&](std::size_t i) { return hearing[i]; },
        [&](std::size_t i) { return asked.push_back(i), i == holder; });
  };
  for (const std::size_t heard : {0U, 1U, 9U}) {
    EXPECT_FALSE(due(heard)) << heard;
  }
  asked.clear();
  EXPECT_TRUE(due(3));
  EXPECT_EQ(asked, (std::vector<std::size_t>{2, 3}));
}

TEST(Choice, PowerFollowsTheLoudestAndThenTheFaintest) {
  const std::pair<std::vector<int>, PowerStep> cases[] = {
      {{-65}, PowerStep::down}, {{-75, -90}, PowerStep::up}, {{-75, -60}, PowerStep::down},
      {{-70}, PowerStep::none}, {{}, PowerStep::none},       {{-70, -71}, PowerStep::up},
      {{-69}, PowerStep::down}};
  for (const auto& [levels, step] : cases) {
    const auto any = [&](auto test) -> std::uint64_t {
      return std::any_of(levels.begin(), levels.end(), test) ? 1 : 0;
    };
    EXPECT_EQ(power_step({any([](int level) { return level > -70; }), levels.empty() ? 0U : 1U,
                          any([](int level) { return level < -70; })}),
              step)
        << testing::PrintToString(levels);
  }
}

TEST(MacFilter, TakesTheSecondFieldOfEachPieceOfALine) {
  const std::string a = "00:11:22:33:44:55";
  const std::string b = "aa:bb:cc:dd:ee:ff";
  using Texts = std::vector<std::string>;
  struct Case {
    std::string text;
    Texts addresses;
    Texts refused;
  };
  for (const Case& c : std::vector<Case>{
           {"", {}, {}},
           {"1 " + a + " name\n\n2\t" + b, {a, b}, {}},
           {"1 " + a + "\r\n2 " + b + "\r\n", {a, b}, {}},
           {a + "\n  " + a + "  \n \r\n", {}, {}},
           {"1 " + a + "5\n2 00-11-22-33-44-55\n3 " + b, {b}, {a + "5", "00-11-22-33-44-55"}},
           {"1 " + a + std::string("\0", 1) + "\n", {}, {a + std::string("\0", 1)}},
           // 1,000 characters: what begins a later piece begins a line.
           {"1 " + a + " " + std::string(234, 'x') + "2 " + b + " " + std::string(726, 'y') +
                "\n3 " + b,
            {a, b, b},
            {}},
           {"1 " + a + " " + std::string(232, 'x') + "2 " + b + " " + std::string(728, 'y') +
                "\n3 " + b,
            {a, b},
            {std::string(254 - 18, 'y')}}}) {
    const MacFilter filter = read_mac_filter(c.text);
    EXPECT_EQ(filter.addresses, c.addresses) << c.text;
    EXPECT_EQ(filter.refused, c.refused) << c.text;
  }
}

TEST(MacFilter, GroupsOfSixteenAreNumberedFromOne) {
  for (const int count : {0, 1, 16, 17, 32, 10'000}) {
    std::string expected = "macFilterControl=2\n";
    for (int i = 0; i < count; ++i) {
      expected += (i % 16 == 0 ? "macFilterAddr" + std::to_string(i / 16 + 1) + "=" : ",");
      expected += "m" + std::to_string(i) + (i % 16 == 15 || i + 1 == count ? "\n" : "");
    }
    std::vector<std::string> addresses;
    for (int i = 0; i < count; ++i) {
      addresses.push_back("m" + std::to_string(i));
    }
    EXPECT_EQ(mac_filter_lines(2, addresses), expected);
    EXPECT_EQ(mac_filter_lines(0, addresses), "macFilterControl=0\n");
  }
}

}  // namespace
