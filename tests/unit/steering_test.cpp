#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "steering/auto_rf.h"
#include "steering/demand.h"
#include "steering/mac_filter.h"

namespace {

std::minstd_rand dice(4711);

int roll(int most) {
  return static_cast<int>(dice() % static_cast<unsigned>(most + 1));
}

int moved(int amount, const std::vector<int>& neighbours) {
  Demand demand(amount);
  for (const int clients : neighbours) {
    demand.add_neighbour(clients);
  }
  return stations_to_move(demand);
}

TEST(Demand, MovesWhatTheNeighboursCanTakeOrTheEvenShare) {
  const std::tuple<int, std::vector<int>, int> cases[] = {
      {4, {}, 0},  {50, {}, 0}, {6, {1, 2}, 3}, {7, {1, 2}, 3}, {8, {5}, 1},
      {4, {3}, 0}, {4, {2}, 1}, {4, {3, 3}, 0}, {5, {3, 3}, 1}, {5, {10}, -3}};
  for (const auto& [amount, neighbours, expected] : cases) {
    EXPECT_EQ(moved(amount, neighbours), expected) << amount;
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
    EXPECT_EQ(amount - moved(amount, neighbours), room >= amount - 3 ? 3 : (all + aps - 1) / aps)
        << "what the AP keeps";
  }
}

TEST(AutoRf, PowerGoesDownForTheLoudAndUpForTheFaint) {
  const std::pair<Hearing, PowerStep> cases[] = {{{true, true, true}, PowerStep::down},
                                                 {{true, true, false}, PowerStep::down},
                                                 {{false, true, true}, PowerStep::up},
                                                 {{false, true, false}, PowerStep::none},
                                                 {{}, PowerStep::none}};
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
  EXPECT_EQ(mac_filter_lines(0, {}), "macFilterControl=0\n");
  EXPECT_EQ(mac_filter_lines(1, Texts(16, "m")).find("macFilterAddr2"), std::string::npos);
  EXPECT_TRUE(mac_filter_lines(1, Texts(17, "m")).ends_with(",m\nmacFilterAddr2=m\n"));
}

}  // namespace
