#include "show/output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/text.h"
#include "values/decimal.h"
#include "values/visible_text.h"

namespace show {

namespace {

constexpr const char* kNothing = "-";
constexpr const char* kGap = "  ";
constexpr int kGapWidth = 2;
constexpr const char* kCut = "…";

/// Texts are cut to this width before columns are left out, and to the second when no more
/// columns can be left out.
constexpr int kCutFirst = 16;
constexpr int kCutLast = 6;

std::string age_text(std::int64_t seconds) {
  constexpr std::int64_t kMinute = 60;
  constexpr std::int64_t kHour = 60 * kMinute;
  constexpr std::int64_t kDay = 24 * kHour;
  const auto in = [&](std::int64_t unit, const char* name) {
    return M("%lld %s", static_cast<long long>(seconds / unit), name);
  };
  return seconds < 2 * kMinute ? in(1, "s")
         : seconds < 2 * kHour ? in(kMinute, "min")
         : seconds < 2 * kDay  ? in(kHour, "h")
                               : in(kDay, "d");
}

std::string text_of(const Cell& cell, Unit unit) {
  if (const auto* text = std::get_if<std::string>(&cell.value)) {
    return printable_text(*text);
  }
  const auto* number = std::get_if<std::int64_t>(&cell.value);
  if (number == nullptr) {
    return kNothing;
  }
  return unit == Unit::age ? age_text(*number)
                           : std::to_string(*number) + (unit == Unit::dbm ? " dBm" : "");
}

/// The columns that a letter, a character of UTF-8, takes on a terminal.
int letter_width(std::string_view letter) {
  wchar_t wide = 0;
  std::mbstate_t state{};
  const std::size_t read = std::mbrtowc(&wide, letter.data(), letter.size(), &state);
  return read == letter.size() ? std::max(wcwidth(wide), 0) : 1;
}

/// The longest beginning of a printable text that fits `width` columns; the columns it takes.
std::pair<std::string_view, int> beginning(std::string_view text, int width) {
  std::size_t end = 0;
  int taken = 0;
  while (end < text.size()) {
    const std::size_t length = std::max<std::size_t>(utf8_length(text.substr(end)), 1);
    const int more = letter_width(text.substr(end, length));
    if (taken + more > width) {
      break;
    }
    taken += more;
    end += length;
  }
  return {text.substr(0, end), taken};
}

int width_of(std::string_view text) {
  return beginning(text, INT_MAX).second;
}

/// `text` in exactly `width` columns.
std::string fitted(const std::string& text, int width, bool to_the_right) {
  auto [shown, taken] = beginning(text, width);
  std::string result(shown);
  if (result.size() < text.size()) {
    std::tie(shown, taken) = beginning(text, width - 1);
    result = std::string(shown) + kCut;
    ++taken;
  }
  const std::string blanks(static_cast<std::size_t>(width - taken), ' ');
  return to_the_right ? blanks + result : result + blanks;
}

/// Ends a line without the blanks that would fill its last column.
std::string ended(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

class TextPrinter {
 public:
  explicit TextPrinter(const Page& page) : page_(page) {}

  void add(const Section& section) {
    if (!text_.empty()) {
      text_ += "\n";
    }
    if (!section.title.empty()) {
      text_ += coloured(section.layout == Layout::single || section.layout == Layout::lines
                            ? printable_text(section.title)
                            : printable_text(section.title) + M(" (%zu)", section.records.size()),
                        "1") +
               "\n";
    }
    if (section.layout == Layout::lines) {
      for (const Record& record : section.records) {
        constexpr int kIndent = 2;
        text_ += ended(wrapped(text_of(record.front(), Unit::text), kIndent));
      }
    } else if (section.layout != Layout::table) {
      for (const Record& record : section.records) {
        text_ += &record == &section.records.front() ? "" : "\n";
        add_single(section.columns, record);
      }
    } else if (!section.records.empty() || section.title.empty()) {
      add_table(section);
    }
  }

  std::string text() && { return std::move(text_); }

 private:
  std::string coloured(const std::string& text, const char* code) const {
    return page_.colours && code[0] != '\0' ? M("\x1b[%sm%s\x1b[0m", code, text.c_str()) : text;
  }

  std::string toned(const std::string& text, Tone tone) const {
    constexpr const char* kCodes[] = {"", "32", "33", "2"};
    return coloured(text, kCodes[static_cast<std::size_t>(tone)]);
  }

  /// A text whose lines are broken between words; all but the first are indented.
  std::string wrapped(const std::string& text, int indent, int begin = 0) const {
    std::istringstream words(text);
    std::string shown;
    int at = begin;
    for (std::string word; words >> word;) {
      const int width = width_of(word);
      if (!shown.empty() && page_.width > 0 && at + 1 + width > page_.width) {
        shown += "\n" + std::string(static_cast<std::size_t>(indent), ' ');
        at = indent;
      } else if (!shown.empty()) {
        shown += ' ';
        ++at;
      }
      shown += word;
      at += width;
    }
    return shown;
  }

  /// A line for each value, long texts broken between words.
  void add_single(const std::vector<Column>& columns, const Record& record) {
    int indent = 0;
    for (const Column& column : columns) {
      indent = std::max(indent, width_of(column.head) + kGapWidth);
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::string text = wrapped(text_of(record[i], columns[i].unit), indent, indent);
      text_ += ended(fitted(columns[i].head, indent, false) + toned(text, record[i].tone));
    }
  }

  void add_table(const Section& section) {
    const std::vector<Column>& columns = section.columns;
    std::vector<std::vector<std::string>> texts;
    std::vector<int> widths(columns.size());
    std::transform(columns.begin(), columns.end(), widths.begin(),
                   [](const Column& column) { return width_of(column.head); });
    for (const Record& record : section.records) {
      std::vector<std::string>& row = texts.emplace_back();
      for (std::size_t i = 0; i < columns.size(); ++i) {
        row.push_back(text_of(record[i], columns[i].unit));
        widths[i] = std::max(widths[i], width_of(row.back()));
      }
    }
    fit(columns, widths);
    std::string head;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (widths[i] > 0) {
        head += (head.empty() ? "" : kGap) +
                fitted(columns[i].head, widths[i], columns[i].unit != Unit::text);
      }
    }
    text_ += coloured(ended(head), "1");
    for (std::size_t r = 0; r < texts.size(); ++r) {
      std::string line;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        if (widths[i] > 0) {
          line += (line.empty() ? "" : kGap) +
                  toned(fitted(texts[r][i], widths[i], columns[i].unit != Unit::text),
                        section.records[r][i].tone);
        }
      }
      text_ += ended(line);
    }
  }

  static int total(const std::vector<int>& widths) {
    int sum = -kGapWidth;
    for (const int width : widths) {
      sum += width > 0 ? width + kGapWidth : 0;
    }
    return sum;
  }

  /// Cuts the widest texts, down to `least`, as far as it takes to fit the page.
  void cut(const std::vector<Column>& columns, std::vector<int>& widths, int least) const {
    while (total(widths) > page_.width) {
      int* widest = nullptr;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].unit == Unit::text && widths[i] > least &&
            (widest == nullptr || widths[i] > *widest)) {
          widest = &widths[i];
        }
      }
      if (widest == nullptr) {
        return;
      }
      --*widest;
    }
  }

  /// Makes the table fit the page: texts are cut, columns left out (width 0).
  void fit(const std::vector<Column>& columns, std::vector<int>& widths) const {
    if (page_.width <= 0) {
      return;
    }
    const std::vector<int> natural = widths;
    std::vector<std::size_t> spare;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].spare > 0) {
        spare.push_back(i);
      }
    }
    std::stable_sort(spare.begin(), spare.end(), [&](std::size_t a, std::size_t b) {
      return columns[a].spare > columns[b].spare;
    });
    for (std::size_t left_out = 0;; ++left_out) {
      widths = natural;
      for (std::size_t i = 0; i < left_out; ++i) {
        widths[spare[i]] = 0;
      }
      cut(columns, widths, kCutFirst);
      if (total(widths) <= page_.width || left_out == spare.size()) {
        break;
      }
    }
    cut(columns, widths, kCutLast);
  }

  Page page_;
  std::string text_;
};

using Json = nlohmann::ordered_json;

Json json_of(const std::vector<Column>& columns, const Record& record) {
  Json object = Json::object();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const Cell::Value& value = record[i].value;
    Json& member = object[columns[i].key];
    if (const auto* text = std::get_if<std::string>(&value)) {
      member = *text;
    } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
      member = *number;
    }
  }
  return object;
}

}  // namespace

Page standard_page() {
  Page page;
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  page.colours = terminal && std::getenv("NO_COLOR") == nullptr;
  winsize size{};
  if (const char* columns = std::getenv("COLUMNS")) {
    page.width = decimal_int(columns);
  } else if (terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
    page.width = size.ws_col;
  }
  return page;
}

std::string as_text(const View& view, const Page& page) {
  std::setlocale(LC_CTYPE, "C.UTF-8");  // for the widths of letters
  TextPrinter printer(page);
  for (const Section& section : view) {
    printer.add(section);
  }
  return std::move(printer).text();
}

std::string as_json(const View& view, Compact compact) {
  Json all = Json::object();
  for (const Section& section : view) {
    Json& member = all[section.key];
    member = section.layout == Layout::single ? Json::object() : Json::array();
    for (const Record& record : section.records) {
      if (section.layout == Layout::lines) {
        member.push_back(std::get<std::string>(record.front().value));
      } else if (section.layout == Layout::single) {
        member = json_of(section.columns, record);
      } else {
        member.push_back(json_of(section.columns, record));
      }
    }
  }
  return all.dump(compact == Compact::yes ? -1 : 2, ' ', false, Json::error_handler_t::replace) +
         "\n";
}

}  // namespace show
