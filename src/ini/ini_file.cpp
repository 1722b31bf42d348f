#include "ini/ini_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "ini/ini_pieces.h"
#include "platform/text.h"

extern "C" {
#include <iniparser/iniparser.h>
}

namespace {

/// How much iniparser gets at a time: some 200 keys, which cost no more than reading the lines.
constexpr std::size_t kLeastBytes = 4'096;
constexpr std::size_t kMostBytes = 16'384;  // of a section that is longer than any real one

struct Descriptor {
  int number;

  explicit Descriptor(int opened) : number(opened) {}
  ~Descriptor() {
    if (number >= 0) {
      close(number);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
};

/// Where the library's complaints go while a text is loaded; its callback gets no context.
std::string* complaints = nullptr;

__attribute__((format(printf, 1, 2))) int complain(const char* format, ...) {
  std::array<char, 2048> text{};
  std::va_list values;
  va_start(values, format);
  const int length = std::vsnprintf(text.data(), text.size(), format, values);
  va_end(values);
  complaints->append(text.data());
  return length;
}

/// Loads pieces of a text with iniparser, which opens files by name: each becomes the content of an
/// unnamed file, known by the name under which the kernel lists our descriptor.
class Loader {
 public:
  explicit Loader(std::string& complaint)
      : file_(memfd_create("ini", MFD_CLOEXEC)),
        name_("/proc/self/fd/" + std::to_string(file_.number)) {
    complaints = &complaint;
    iniparser_set_error_callback(complain);
  }
  ~Loader() {
    iniparser_set_error_callback(nullptr);
    complaints = nullptr;
  }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  const std::string& name() const { return name_; }

  /// The dictionary of a piece, or null.
  dictionary* load(const IniPiece& piece) const {
    const auto write = [&](std::string_view text, std::size_t at) {
      return pwrite(file_.number, text.data(), text.size(), static_cast<off_t>(at)) ==
             static_cast<ssize_t>(text.size());
    };
    const bool is_written = ftruncate(file_.number, 0) == 0 && write(piece.header, 0) &&
                            write(piece.text, piece.header.size());
    errno = 0;
    dictionary* values = is_written ? iniparser_load(name_.c_str()) : nullptr;
    // iniparser takes a read error for the end of the file. The allocator may leave ENOMEM although it
    // has found memory in another way.
    if (values != nullptr && errno != 0 && errno != ENOMEM) {
      complain("%s cannot be read: %s", name_.c_str(), std::strerror(errno));
      iniparser_freedict(std::exchange(values, nullptr));
    }
    return values;
  }

 private:
  Descriptor file_;
  std::string name_;
};

/// The complaint with our names for the file and its lines: "in <loaded> (3)" becomes "in <name>
/// (103)" when `lines_before` are in earlier pieces.
std::string translated(std::string complaint, const std::string& loaded, const std::string& name,
                       long lines_before) {
  if (const std::size_t at = complaint.find(loaded); at != std::string::npos) {
    std::string rest = complaint.substr(at + loaded.size());
    if (rest.starts_with(" (")) {
      char* end = nullptr;
      const long line = std::strtol(rest.c_str() + 2, &end, 10);
      rest = " (" + std::to_string(line + lines_before) + end;
    }
    complaint = complaint.substr(0, at) + name + rest;
  }
  complaint.erase(complaint.find_last_not_of('\n') + 1);
  return complaint.empty() ? name + " cannot be parsed" : complaint;
}

}  // namespace

void IniFile::Free::operator()(_dictionary_* values) const {
  iniparser_freedict(values);
}

void IniFile::add(_dictionary_* values) {
  pieces_.emplace_back(values);
  for (std::size_t i = 0; i < static_cast<std::size_t>(values->size); ++i) {
    if (values->key[i] != nullptr) {
      index_.insert_or_assign(values->key[i], values->val[i]);
    }
  }
}

std::optional<IniFile> IniFile::parse(std::string_view text, const std::string& name,
                                      std::string& complaint) {
  if (const std::size_t at = text.find('\0'); at != std::string_view::npos) {
    complaint =
        name + " holds a NUL byte, in line " +
        std::to_string(std::count(text.begin(), text.begin() + static_cast<long>(at), '\n') + 1);
    return std::nullopt;
  }
  complaint.clear();
  const Loader loader(complaint);
  IniFile file;
  for (const IniPiece& piece : ini_pieces(text, kLeastBytes, kMostBytes)) {
    dictionary* values = loader.load(piece);
    if (values == nullptr) {
      const long lines_before = std::count(text.data(), piece.text.data(), '\n') -
                                std::count(piece.header.begin(), piece.header.end(), '\n');
      const std::string said = complaint;
      complaint = translated(said, loader.name(), name, lines_before);
      return std::nullopt;
    }
    file.add(values);
  }
  return file;
}

const char* IniFile::find(std::string_view section, std::string_view key) const {
  std::string name;
  name.reserve(section.size() + 1 + key.size());
  name.append(section).append(1, ':').append(key);
  const auto found = index_.find(my_tolower(std::move(name)));
  // A section's own name is in the dictionary too, without a value.
  return found == index_.end() ? nullptr : found->second;
}

void IniFile::for_each(const Visitor& visit) const {
  for (const auto& [name, value] : index_) {
    const std::size_t colon = name.find(':');
    if (value != nullptr && colon != std::string_view::npos) {
      visit(name.substr(0, colon), name.substr(colon + 1), value);
    }
  }
}

std::optional<std::string> read_regular_file(const std::string& path, std::size_t most,
                                             Links links) {
  const int no_links = links == Links::refuse ? O_NOFOLLOW : 0;
  const Descriptor file(
      open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | no_links));
  struct stat info {};
  if (file.number < 0 || fstat(file.number, &info) != 0 || !S_ISREG(info.st_mode)) {
    return std::nullopt;
  }
  std::string text(std::min(static_cast<std::size_t>(info.st_size), most + 1), '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t got = read(file.number, text.data() + size, text.size() - size);
    if (got > 0) {
      size += static_cast<std::size_t>(got);
    } else if (got == 0) {
      break;  // it has become shorter
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
  text.resize(size);
  return text;
}
