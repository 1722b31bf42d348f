#include "control/support_marker.h"

#include "platform/text.h"
#include "values/paths.h"

std::string support_marker(const std::string& mac) {
  return M("%s/%s.update", paths::kSupport, mac.c_str());
}
