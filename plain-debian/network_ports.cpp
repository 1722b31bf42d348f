#include "platform/network_ports.h"

#include "platform/text.h"
#include "store.h"
#include "values/decimal.h"

std::optional<PortRecord> interface_read_shm(int port) {
  const std::string section = M("port %d", port);
  const std::optional<std::string> name = store_text(section, "name");
  const std::optional<std::string> bridge = store_text(section, "bridge");
  const std::optional<std::string> mode = store_text(section, "mode");
  if (!name && !bridge && !mode) {
    return std::nullopt;
  }
  return PortRecord{name.value_or(""), decimal_int(bridge.value_or("")),
                    decimal_int(mode.value_or(""))};
}

std::optional<std::string> my_cgi_encrypt_BigEndian(std::string_view text) {
  std::string body;
  body.reserve(text.size() * 2);
  for (const char byte : text) {
    body = my_string(std::move(body), "%02x",
                     static_cast<unsigned int>(static_cast<unsigned char>(byte)));
  }
  return body;
}
