#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/socket.h>

#include "support/appliance.h"

using namespace std::string_literals;

namespace {

/// The far end of a new virtual cable named `device`: a socket that gets every IP packet.
int far_end(const std::string& device) {
  const std::string end = "far-" + device;
  EXPECT_EQ(std::system(("ip link add " + device + " type veth peer name " + end +
                         " && ip link set " + device + " up && ip link set " + end + " up")
                            .c_str()),
            0);
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ETH_P_IP);
  address.sll_ifindex = static_cast<int>(if_nametoindex(end.c_str()));
  const int receiver = socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK, htons(ETH_P_IP));
  EXPECT_EQ(bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  return receiver;
}

TEST_F(HookTest, AScanIsAnnouncedThroughEveryPort) {
  NEEDS_NAMESPACES("virtual cables belong to a network of one's own");
  configure(
      "[named]\nSYSTEM_PORT_NUM = 6\n[settings]\n41 = wan\n[port 1]\nname = lan1\n"
      "[port 3]\nname = wan\nbridge = 2\n[port 4]\nname = nowhere\n[port 5]\nname = lan2\n"
      "[port 7]\nname = unused\n");
  const std::pair<int, int> devices[] = {
      {far_end("lan1"), 1}, {far_end("br2"), 2}, {far_end("lan2"), 1}, {far_end("unused"), 0}};
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  for (const auto& [receiver, datagrams] : devices) {
    std::string packet(2048, '\0');
    for (int i = 0; i < datagrams; ++i) {  // br2 twice: "nowhere" cannot be bound
      packet.resize(static_cast<std::size_t>(
          std::max<ssize_t>(recv(receiver, packet.data(), packet.size(), 0), 0)));
      ASSERT_EQ(packet.size(), 36U) << "IP and UDP head and the body";
      EXPECT_EQ(packet.substr(16, 4) + packet.substr(22, 2), "\xE0\0\0\x64\x27\xFB"s);
      EXPECT_EQ(packet.substr(28), "7363616e");
    }
    EXPECT_EQ(recv(receiver, packet.data(), packet.size(), 0), -1) << "and nothing else";
  }
}

TEST_F(HookTest, AScanEndsAtTheLastPortOfTheMoment) {
  NEEDS_NAMESPACES("virtual cables belong to a network of one's own");
  const std::string ports =
      "[port 1]\nname = one\n[port 2]\nname = two\n[named]\nSYSTEM_PORT_NUM = ";
  configure(ports + "2\n");
  write_file("/etc/ap-run/database.cnf", "[client]\nsocket=/nowhere\n");  // sends nothing, either
  const int first = far_end("one");
  const int second = far_end("two");
  kit::Child hook({"/usr/bin/strace",
                   {"strace", "-o", "/dev/null", "-e", "inject=sendto:delay_exit=500000",
                    "/usr/sbin/ap-down", kMac},
                   {"ASAN_OPTIONS=detect_leaks=0"}});  // strace and the leak checker both trace
  std::string packet(2048, '\0');
  EXPECT_TRUE(eventually([&] { return recv(first, packet.data(), packet.size(), 0) > 0; }));
  configure(ports + "1\n");
  EXPECT_EQ(hook.finish().status, 0);
  EXPECT_EQ(recv(second, packet.data(), packet.size(), 0), -1);
}

}  // namespace
