#include "control/support_marker.h"

#include "platform/text.h"

std::string support_marker(const std::string& mac) {
  return M("%s/%s.update", "/database/ap/support", mac.c_str());
}
