#include "control/shell_command.h"

#include <unistd.h>

#include "platform/shell.h"
#include "platform/system_log.h"
#include "values/shell_word.h"
#include "values/visible_text.h"

namespace shell_form {

namespace {

/// A command line as the trace shows it and as the shell gets it.
struct Line {
  std::string shown;
  std::string run;
};

Line fill_in(std::string_view literal, std::initializer_list<Argument> values) {
  Line line;
  bool quoted = false;
  const Argument* next = values.begin();
  for (std::size_t at = 0; at < literal.size();) {
    if (literal[at] != '%') {
      quoted = quoted != (literal[at] == '"');
      line.shown += literal[at];
      line.run += literal[at++];
      continue;
    }
    const FormatPlace place = format_place_at(literal, at);
    const Argument& value = *next++;
    if (place.conversion == 'd') {
      line.shown += std::to_string(value.number);
      line.run += std::to_string(value.number);
    } else {
      line.shown += visible_text(value.text);
      line.run += quoted ? within_double_quotes(value.text) : shell_word(value.text);
    }
    at = place.end;
  }
  return line;
}

void report(const TraceSite& site, Loss loss, const std::string& what) {
  ap_debug_log(site, "%s", what.c_str());
  my_report_loss(loss, Remedy::none, M("AP %s: %s: %s", site.key, site.operation, what.c_str()));
}

/// Tells when the program that the line starts is not there. What runs in the background would not
/// tell.
void report_missing(const TraceSite& site, const std::string& line) {
  const std::string program = line.substr(0, line.find(' '));
  if (program.starts_with('/') && access(program.c_str(), X_OK) != 0) {
    report(site, Loss::helper, program + " cannot be started");
  }
}

}  // namespace

void run(const TraceSite& site, std::string_view literal, std::initializer_list<Argument> values) {
  const Line line = fill_in(literal, values);
  ap_debug_log(site, "%s", line.shown.c_str());
  report_missing(site, line.run);
  const int status = my_system("%s", line.run.c_str());
  if (status != 0 && line.run.starts_with('>')) {
    report(site, Loss::file, line.shown + ": the file cannot be made");
  } else if (status < 0) {
    report(site, Loss::helper, line.shown + ": the command could not be run, or died");
  }
}

}  // namespace shell_form
