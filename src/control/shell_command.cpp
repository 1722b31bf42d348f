#include "control/shell_command.h"

#include <unistd.h>

#include "platform/shell.h"
#include "values/shell_word.h"
#include "values/visible_text.h"

namespace shell_form {

namespace {

/// A command line as the trace shows it and as the shell gets it.
struct Line {
  std::string shown;
  std::string run;
};

Line fill_in(std::string_view literal, std::initializer_list<std::string_view> values) {
  Line line;
  bool quoted = false;
  const std::string_view* value = values.begin();
  for (std::size_t at = 0; at < literal.size(); ++at) {
    if (literal[at] == '%') {
      line.shown += visible_text(*value);
      line.run += quoted ? within_double_quotes(*value) : shell_word(*value);
      ++value;
      ++at;  // past the "s"
    } else {
      quoted = quoted != (literal[at] == '"');
      line.shown += literal[at];
      line.run += literal[at];
    }
  }
  return line;
}

/// Reports that the program of a line is missing, which the shell does not say of what it runs in the
/// background.
void report_missing(const TraceSite& site, const std::string& line) {
  const std::string program = line.substr(0, line.find(' '));
  if (program.starts_with('/') && access(program.c_str(), X_OK) != 0) {
    report_loss(site, Loss::helper, Remedy::none, program + " cannot be started");
  }
}

}  // namespace

void run(const TraceSite& site, std::string_view literal,
         std::initializer_list<std::string_view> values) {
  const Line line = fill_in(literal, values);
  ap_debug_log(site, "%s", line.shown.c_str());
  report_missing(site, line.run);
  const int status = my_system("%s", line.run.c_str());
  if (status != 0 && line.run.starts_with('>')) {
    report_loss(site, Loss::file, Remedy::none, line.shown + ": the file cannot be made");
  } else if (status < 0) {
    report_loss(site, Loss::helper, Remedy::none,
                line.shown + ": the command could not be run, or died");
  }
}

}  // namespace shell_form
