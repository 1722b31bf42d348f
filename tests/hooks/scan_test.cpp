#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <map>

#include "support/appliance.h"

namespace {

/// The other end of a virtual cable, on which it sees every IP packet that comes out.
class FarEnd {
 public:
  explicit FarEnd(const std::string& device)
      : socket_(socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, htons(ETH_P_IP))) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_IP);
    address.sll_ifindex = static_cast<int>(if_nametoindex(device.c_str()));
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~FarEnd() { close(socket_); }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;

  /// The next datagram as "address:port body"; empty when there is none.
  std::string next() const {
    char packet[2048];
    const ssize_t size = recv(socket_, packet, sizeof packet, 0);
    constexpr std::size_t kHeads = sizeof(iphdr) + sizeof(udphdr);
    if (size < static_cast<ssize_t>(kHeads)) {
      return "";
    }
    in_addr to{};
    std::memcpy(&to, packet + offsetof(iphdr, daddr), sizeof to);
    std::uint16_t port = 0;
    std::memcpy(&port, packet + sizeof(iphdr) + offsetof(udphdr, dest), sizeof port);
    return std::string(inet_ntoa(to)) + ":" + std::to_string(ntohs(port)) + " " +
           std::string(packet + kHeads, static_cast<std::size_t>(size) - kHeads);
  }

 private:
  int socket_;
};

TEST_F(HookTest, AnnouncesAScanThroughEveryPort) {
  const Words devices{"lan1", "lan2", "br2", "brgre", "unused"};
  std::map<std::string, std::unique_ptr<FarEnd>> far;
  for (const std::string& device : devices) {
    const std::string end = "far-" + device;
    ASSERT_EQ(std::system(("ip link add " + device + " type veth peer name " + end +
                           " && ip link set " + device + " up && ip link set " + end + " up")
                              .c_str()),
              0);
    far[device] = std::make_unique<FarEnd>(end);
  }
  const auto seen = [&] {
    Lines lines;
    for (const std::string& device : devices) {
      for (std::string text = far[device]->next(); !text.empty(); text = far[device]->next()) {
        lines.push_back(device + " " + text);
      }
    }
    return lines;
  };
  const auto ports = [](const std::string& bridge) {
    return "[named]\nSYSTEM_PORT_NUM = 6\n[settings]\n41 = wan\n[port 1]\nname = lan1\n"
           "[port 3]\nname = wan\n" +
           bridge +
           "[port 4]\nname = nowhere\n"
           "[port 5]\nname = lan2\nbridge = 2\n[port 7]\nname = unused\n";
  };
  const std::string datagram = " 224.0.0.100:10235 7363616e";
  configure(ports("bridge = 2\nmode = 1\n"));
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  EXPECT_EQ(seen(),
            (Lines{"lan1" + datagram, "lan2" + datagram, "br2" + datagram, "br2" + datagram}))
      << "a device that does not exist leaves the one before it";
  configure(ports("bridge = 0\nmode = 1\n"));
  EXPECT_EQ(run_hook({"ap-down", kMac}), 0);
  EXPECT_EQ(seen(),
            (Lines{"lan1" + datagram, "lan2" + datagram, "brgre" + datagram, "brgre" + datagram}));
  for (const std::string& device : devices) {
    EXPECT_EQ(std::system(("ip link del " + device).c_str()), 0);
  }
}

}  // namespace
