#include <gtest/gtest.h>

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
  const std::tuple<int, std::vector<int>, int> cases[] = {
      {4, {}, 0},  {50, {}, 0}, {6, {1, 2}, 3}, {7, {1, 2}, 3}, {8, {5}, 1},
      {4, {3}, 0}, {4, {2}, 1}, {4, {3, 3}, 0}, {5, {3, 3}, 1}, {5, {10}, -3}};
  for (const auto& [amount, neighbours, moved] : cases) {
    EXPECT_EQ(stations_to_move(amount, neighbours), moved) << amount;
  }
  for (int round = 0; round < 1000; ++round) {
    std::vector<int> neighbours(1U + static_cast<unsigned>(roll(20)));
    int room = 0;
    int all = 4 + roll(256);
    const int amount = all;
    for (int& clients : neighbours) {
      clients = roll(20);
      room += std::max(0, 3 - clients);
      all += clients;
    }
    const int aps = static_cast<int>(neighbours.size()) + 1;
    EXPECT_EQ(amount - stations_to_move(amount, neighbours),
              room >= amount - 3 ? 3 : (all + aps - 1) / aps)
        << "what the AP keeps";
  }
}

TEST(Choice, BlocksKeepTheLimitAndTakeNobodyTwice) {
  std::set<int> block_table;
  for (int ap = 0; ap < 300; ++ap) {
    std::vector<BlockCandidate> candidates;
    const int first = roll(4000);
    for (int client = first; client < first + 40; ++client) {
      candidates.push_back({static_cast<std::size_t>(roll(2)), block_table.contains(client)});
    }
    const int limit = roll(12);
    NumberedLines lines("block");
    std::string expected;
    std::size_t passed = 0;  // candidates that could have been taken
    for (const std::size_t i : choose_blocks(candidates, limit)) {
      for (; passed < i; ++passed) {
        EXPECT_TRUE(candidates[passed].alternatives == 0 || candidates[passed].refused);
      }
      ++passed;
      EXPECT_GT(candidates[i].alternatives, 0U);
      EXPECT_TRUE(block_table.insert(first + static_cast<int>(i)).second) << "twice";
      expected += "block" + std::to_string(lines.count()) + "=" + std::to_string(i) + "\n";
      lines.add(std::to_string(i));
    }
    EXPECT_LE(lines.count(), limit);
    EXPECT_EQ(lines.text(), expected);
  }
}

TEST(Choice, BlocksGoWhereNobodyServesOrHears) {
  std::vector<int> asked;
  const auto serves = [&](int ap) { return asked.push_back(ap), ap == 8; };
  EXPECT_EQ(serving_neighbour(std::vector{7, 8, 9}, serves), 8);
  EXPECT_EQ(asked, (std::vector{7, 8})) << "the third is not asked";
  EXPECT_EQ(serving_neighbour(std::vector{7, 9}, serves), std::nullopt);
  EXPECT_EQ(serving_neighbour({}, serves), std::nullopt);

  const std::optional<std::uint64_t> hearing[] = {1, std::nullopt, 0, 0, 2};
  for (std::size_t holder = 0; holder < 6; ++holder) {
    EXPECT_EQ(must_release_all(
                  5, [&](std::size_t i) { return hearing[i]; },
                  [&](std::size_t i) { return i == holder; }),
              holder == 2 || holder == 3);
  }
}

TEST(Choice, PowerGoesDownForTheLoudAndUpForTheFaint) {
  const std::pair<Hearing, PowerStep> cases[] = {{{1, 1, 1}, PowerStep::down},
                                                 {{1, 1, 0}, PowerStep::down},
                                                 {{0, 1, 1}, PowerStep::up},
                                                 {{0, 1, 0}, PowerStep::none},
                                                 {{0, 0, 0}, PowerStep::none}};
  for (const auto& [hearing, step] : cases) {
    EXPECT_EQ(power_step(hearing), step);
  }
}

TEST(MacFilter, TakesTheSecondFieldOfEachPieceOfALine) {
  using Texts = std::vector<std::string>;
  const std::string a = "00:11:22:33:44:55";
  const std::string b = "aa:bb:cc:dd:ee:ff";
  const std::string many(726, 'y');
  // 1,000 characters: what begins a later piece of 254 begins a line.
  const std::string at_the_cut = "1 " + a + " " + std::string(234, 'x') + "2 " + b + " " + many;
  const std::string across_the_cut =
      "1 " + a + " " + std::string(232, 'x') + "2 " + b + " y" + many;
  const std::tuple<std::string, Texts, Texts> cases[] = {
      {"", {}, {}},
      {"1 " + a + "\r\n\n2\t" + b + " name", {a, b}, {}},
      {a + "\n  " + a + "  \n \r\n", {}, {}},
      {"1 " + a + "5\n2 00-11-22-33-44-55\n3 " + b, {b}, {a + "5", "00-11-22-33-44-55"}},
      {at_the_cut + "\n3 " + a, {a, b, a}, {}},
      {across_the_cut + "\n3 " + a, {a, a}, {std::string(236, 'y')}}};
  for (const auto& [text, addresses, refused] : cases) {
    const MacFilter filter = read_mac_filter(text);
    EXPECT_EQ(filter.addresses, addresses) << text;
    EXPECT_EQ(filter.refused, refused) << text;
  }
  EXPECT_EQ(mac_filter_lines(0, {a}), "macFilterControl=0\n");
  EXPECT_EQ(mac_filter_lines(1, Texts(16, "m")).find("macFilterAddr2"), std::string::npos);
  EXPECT_TRUE(mac_filter_lines(1, Texts(17, "m")).ends_with(",m\nmacFilterAddr2=m\n"));
}

}  // namespace
