#include "lifecycle/scan_announcement.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "platform/settings.h"
#include "platform/text.h"
#include "values/settings.h"

namespace {

constexpr in_addr_t kGroup = 0xE0000064;  // 224.0.0.100
constexpr in_port_t kPort = 10235;

constexpr int kMostPorts = 4096;  // far beyond any appliance; bounds a wrong setting
constexpr int kTunnelMode = 1;    // of a port that belongs to bridge 0
constexpr const char* kTunnelBridge = "brgre";

void send_through(int socket, const std::string& device, const std::string& body) {
  sockaddr_in group{};
  group.sin_family = AF_INET;
  group.sin_addr.s_addr = htonl(kGroup);
  group.sin_port = htons(kPort);
  setsockopt(socket, SOL_SOCKET, SO_BINDTODEVICE, device.data(),
             static_cast<socklen_t>(device.size()));
  sendto(socket, body.data(), body.size(), 0, reinterpret_cast<const sockaddr*>(&group),
         sizeof group);
}

}  // namespace

std::string scan_device(const PortRecord& port, const std::string& bridged) {
  if (port.name != bridged) {
    return port.name;
  }
  return port.bridge == 0 && port.mode == kTunnelMode ? kTunnelBridge : M("br%d", port.bridge);
}

void scan_announce() {
  const std::optional<std::string> body = my_cgi_encrypt_BigEndian("scan");
  const int udp = body ? socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1;
  if (udp < 0) {
    return;
  }
  // The number is read before each port: it may change meanwhile.
  for (int port = 1; port <= std::min(RETURN_DEF_INT(setting::kSystemPorts), kMostPorts); ++port) {
    if (const std::optional<PortRecord> record = interface_read_shm(port)) {
      send_through(udp, scan_device(*record, RS(setting::kBridgedPort)), *body);
    }
  }
  close(udp);
}
