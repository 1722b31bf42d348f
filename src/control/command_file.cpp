#include "control/command_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "platform/database.h"
#include "platform/files.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kDirectory = "/database/ap/command";
constexpr const char* kPrefix = "[CMD]=";
constexpr int kTries = 15;
constexpr unsigned int kSecondsBetweenTries = 1;

enum class Taken { yes, slot_taken, cannot_write };

/// Writes `text` to a new file beside the slots; the path, or none. The leading point keeps the
/// controller, which looks for names that begin with the prefix, away from it.
std::optional<std::string> write_beside(const std::string& text) {
  std::string path = M("%s/.%d", kDirectory, static_cast<int>(getpid()));
  unlink(path.c_str());  // left behind by a process of the same number that died
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (file < 0) {
    return std::nullopt;
  }
  const bool complete = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  if (close(file) != 0 || !complete) {
    unlink(path.c_str());
    return std::nullopt;
  }
  return path;
}

Taken take_slot(const std::string& slot, const std::string& text) {
  if (access(slot.c_str(), F_OK) == 0) {
    return Taken::slot_taken;
  }
  const std::optional<std::string> written = write_beside(text);
  if (!written) {
    return Taken::cannot_write;
  }
  const bool linked = link(written->c_str(), slot.c_str()) == 0;
  const bool exists = !linked && errno == EEXIST;
  unlink(written->c_str());
  return linked ? Taken::yes : exists ? Taken::slot_taken : Taken::cannot_write;
}

void wait_for_slot() {
  my_mysql_release();
  sleep(kSecondsBetweenTries);
}

}  // namespace

std::string command_slot(const std::string& mac) {
  return M("%s/%s%s", kDirectory, kPrefix, mac.c_str());
}

void ap_conf_set(const std::optional<std::string>& content, const std::string& mac,
                 const std::optional<std::string>& suffix) {
  if (!content) {
    return;
  }
  const std::string ending = suffix ? M(".%s", suffix->c_str()) : "";
  const std::string slot = M("%s/%s%s%s", kDirectory, kPrefix, mac.c_str(), ending.c_str());
  for (int attempt = 0; attempt < kTries; ++attempt) {
    if (take_slot(slot, M("[command]\n%s", content->c_str())) == Taken::yes) {
      ap_debug_log({"ap_conf_set", mac}, "[command]\n%s", content->c_str());
      return;
    }
    wait_for_slot();
  }
}

void command_reboot(const std::string& mac) {
  const std::optional<std::string> written =
      write_beside(M("[command]\ntype=%d\n", static_cast<int>(CommandType::reboot)));
  if (written && rename(written->c_str(), command_slot(mac).c_str()) != 0) {
    unlink(written->c_str());
  }
}

void command_release_all(const std::string& mac) {
  const std::string slot = command_slot(mac);
  for (int attempt = 0; attempt < kTries; ++attempt) {
    const std::string text =
        M("[command]\ntype=%d\ntime=%lu\n", static_cast<int>(CommandType::release_all),
          static_cast<unsigned long>(std::time(nullptr)));
    if (take_slot(slot, text) != Taken::slot_taken) {
      return;
    }
    wait_for_slot();
  }
}
