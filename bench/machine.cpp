#include "machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "platform/text.h"

Machine Machine::now() {
  std::ifstream file("/proc/stat");
  std::string name;
  double user = 0, nice = 0, system = 0, idle = 0, waiting = 0, hard = 0, soft = 0;
  file >> name >> user >> nice >> system >> idle >> waiting >> hard >> soft;
  const double ms = 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
  return {(user + nice + system + hard + soft) * ms, (idle + waiting) * ms};
}

std::string machine_name() {
  std::ifstream file("/proc/cpuinfo");
  std::string processor = "unknown processor";
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) {
      processor = line.substr(std::min(line.find(": ") + 2, line.size()));
      break;
    }
  }
  utsname system{};
  uname(&system);
  return M("%ld x %s, %s %s", sysconf(_SC_NPROCESSORS_ONLN), processor.c_str(), system.sysname,
           system.release);
}
