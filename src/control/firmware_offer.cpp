#include "control/firmware_offer.h"

#include <arpa/inet.h>
#include <unistd.h>

#include "db/registry.h"
#include "platform/files.h"
#include "platform/firewall.h"
#include "platform/settings.h"
#include "trace/trace_log.h"
#include "values/paths.h"
#include "values/settings.h"
#include "values/visible_text.h"

namespace {

constexpr const char* kOperation = "wum_update_check";

/// Link path and command each have to fit into 512 bytes, the final NUL included.
constexpr std::size_t kLongest = 511;

std::optional<std::string> refusal(const std::string& base_name, const DownloadOffer& offer) {
  if (base_name.empty() || base_name.find_first_of("\r\n") != std::string::npos) {
    return M("no line of a command can hold the file name \"%s\"", visible_text(base_name).c_str());
  }
  if (offer.link.size() > kLongest) {
    return M("the link's path has %zu bytes, more than %zu", offer.link.size(), kLongest);
  }
  if (offer.command.size() > kLongest) {
    return M("the command has %zu bytes, more than %zu", offer.command.size(), kLongest);
  }
  return std::nullopt;
}

void open_firewall(const Ap& ap, const std::string& ip) {
  int marker = 856;  // names the call; administrators' scripts know it
  for (const std::string_view action : {"-D", "-A"}) {
    for (const char* rule : {"ap_update_in -s", "ap_update_out -d"}) {
      const std::string command =
          M("/sbin/iptables -t filter %s %s %s -j ACCEPT", action.data(), rule, ip.c_str());
      ap_debug_log({kOperation, ap.mac}, "%s", command.c_str());
      const int status =
          my_iptables(4, "[%s]%s(),L:%d=> %s", "ap-run", kOperation, marker++, command.c_str());
      if (status != 0 && action == "-A") {
        report_loss({kOperation, ap.mac}, Loss::firewall, Remedy::none,
                    M("its address %s is not let in to fetch its update: \"%s\" ended with %d",
                      ip.c_str(), command.c_str(), status));
      }
    }
  }
}

}  // namespace

std::string support_marker(const std::string& mac) {
  return M("%s/%s.update", paths::kSupport, mac.c_str());
}

DownloadOffer download_offer(CommandType type, const std::string& base_name, int port) {
  DownloadOffer offer;
  offer.link = M("%s/%s", paths::kDownloads, base_name.c_str());
  offer.command = M("type=%s\nwget_filename=%s\nwget_port=%d\n", number_of(type).c_str(),
                    base_name.c_str(), port);
  offer.refusal = refusal(base_name, offer);
  return offer;
}

bool is_ap_address(const std::string& address) {
  in_addr bytes{};
  return inet_pton(AF_INET, address.c_str(), &bytes) == 1 && bytes.s_addr != INADDR_ANY;
}

int wum_update_check(Ap& ap, const std::optional<std::string>& ap_ip, const std::string& file_path,
                     CommandType type) {
  if (access(support_marker(ap.mac).c_str(), F_OK) != 0) {
    return 0;
  }
  const std::size_t slash = file_path.rfind('/');
  if (slash == std::string::npos) {
    return 1;
  }
  const auto decline = [&](const std::string& reason) {
    ap_debug_log({kOperation, ap.mac}, "declined: %s", reason.c_str());
    return 0;
  };
  const DownloadOffer offer =
      download_offer(type, file_path.substr(slash + 1), RI(setting::kDownloadPort));
  if (offer.refusal) {
    return decline(*offer.refusal);
  }
  const std::string ip =
      (ap_ip || !ap.db.open() ? ap_ip : get_ap_ip_by_mac(ap.db, ap.mac)).value_or("");
  if (!is_ap_address(ip)) {
    return decline("no address to open the firewall for: \"" + visible_text(ip) + "\"");
  }
  open_firewall(ap, ip);
  my_symlink(file_path, offer.link);
  ap_conf_set(ap, offer.command, CommandSlot::download, Remedy::none);
  return 1;
}
