#include "machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "kit/files.h"

Machine Machine::now() {
  std::ifstream file("/proc/stat");
  std::string name;
  double user = 0, nice = 0, system = 0, idle = 0, waiting = 0, hard = 0, soft = 0;
  file >> name >> user >> nice >> system >> idle >> waiting >> hard >> soft;
  const double ms = 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
  return {(user + nice + system + hard + soft) * ms, (idle + waiting) * ms};
}

std::string machine_name() {
  const kit::Lines lines = kit::lines_of(kit::content("/proc/cpuinfo"));
  const auto model = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return line.starts_with("model name");
  });
  utsname system{};
  uname(&system);
  return kit::format("%ld x%s, %s %s", sysconf(_SC_NPROCESSORS_ONLN),
                     model == lines.end() ? " unknown" : model->c_str() + model->find(':') + 1,
                     system.sysname, system.release);
}
