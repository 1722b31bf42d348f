#include "control/firmware_offer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <unistd.h>

#include "control/support_marker.h"
#include "db/connection.h"
#include "db/registry.h"
#include "platform/files.h"
#include "platform/firewall.h"
#include "platform/settings.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kOperation = "wum_update_check";
constexpr const char* kProgram = "ap-run";
constexpr const char* kDownloads = "/var/ap_update";
constexpr int kPortSetting = 1;

/// Link path and command each have to fit into 512 bytes, the final NUL included.
constexpr std::size_t kLongest = 511;

std::optional<std::string> refusal(const std::string& base_name, const DownloadOffer& offer) {
  if (base_name.empty() || base_name.find_first_of("\r\n") != std::string::npos) {
    return M("no line of a command can hold the file name \"%s\"", base_name.c_str());
  }
  if (offer.link.size() > kLongest) {
    return M("the link's path has %zu bytes, more than %zu", offer.link.size(), kLongest);
  }
  if (offer.command.size() > kLongest) {
    return M("the command has %zu bytes, more than %zu", offer.command.size(), kLongest);
  }
  return std::nullopt;
}

std::optional<std::string> recorded_address(const std::string& mac) {
  Connection db(mac);
  return db ? get_ap_ip_by_mac(db, mac) : std::nullopt;
}

/// The numbers name the four calls and stay the same wherever these stand.
void open_firewall(const std::string& ip) {
  my_iptables(4, "[%s]%s(),L:%d=> /sbin/iptables -t filter -D ap_update_in -s %s -j ACCEPT",
              kProgram, kOperation, 856, ip.c_str());
  my_iptables(4, "[%s]%s(),L:%d=> /sbin/iptables -t filter -D ap_update_out -d %s -j ACCEPT",
              kProgram, kOperation, 857, ip.c_str());
  my_iptables(4, "[%s]%s(),L:%d=> /sbin/iptables -t filter -A ap_update_in -s %s -j ACCEPT",
              kProgram, kOperation, 858, ip.c_str());
  my_iptables(4, "[%s]%s(),L:%d=> /sbin/iptables -t filter -A ap_update_out -d %s -j ACCEPT",
              kProgram, kOperation, 859, ip.c_str());
}

bool is_taken(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

DownloadOffer download_offer(CommandType type, const std::string& base_name, int port) {
  DownloadOffer offer;
  offer.link = M("%s/%s", kDownloads, base_name.c_str());
  offer.command = M("type=%d\nwget_filename=%s\nwget_port=%d\n", static_cast<int>(type),
                    base_name.c_str(), port);
  offer.refusal = refusal(base_name, offer);
  return offer;
}

bool is_ap_address(const std::string& address) {
  in_addr bytes{};
  return inet_pton(AF_INET, address.c_str(), &bytes) == 1 && bytes.s_addr != INADDR_ANY;
}

int wum_update_check(const std::string& ap_mac, const std::optional<std::string>& ap_ip,
                     const std::string& file_path, CommandType type) {
  if (access(support_marker(ap_mac).c_str(), F_OK) != 0) {
    return 0;
  }
  const std::size_t slash = file_path.rfind('/');
  if (slash == std::string::npos) {
    return 1;
  }
  const DownloadOffer offer = download_offer(type, file_path.substr(slash + 1), RI(kPortSetting));
  if (offer.refusal) {
    ap_debug_log({kOperation, ap_mac}, "declined: %s", offer.refusal->c_str());
    return 0;
  }
  const std::string ip = (ap_ip ? ap_ip : recorded_address(ap_mac)).value_or("");
  if (!is_ap_address(ip)) {
    ap_debug_log({kOperation, ap_mac}, "declined: no address to open the firewall for: \"%s\"",
                 ip.c_str());
    return 0;
  }
  open_firewall(ip);
  if (!is_taken(offer.link)) {
    my_symlink(file_path, offer.link);
  }
  ap_conf_set(offer.command, ap_mac, "update");
  return 1;
}
