#pragma once

#include <concepts>
#include <initializer_list>
#include <string_view>

#include "trace/trace_log.h"

// Command lines for the shell, made from a literal as printf does, so that nothing from outside
// becomes syntax: each "%s" takes a text, which becomes one word, or a part of what double quotes
// around the place hold.

namespace shell_form {

/// The literal of a command line; does not compile unless its places are as many as the values.
template <std::size_t values>
class Literal {
 public:
  consteval Literal(const char* literal) : text_(literal) {  // NOLINT: stands for its literal
    std::size_t places = 0;
    for (std::size_t at = text_.find('%'); at != std::string_view::npos; ++places) {
      if (text_.substr(at, 2) != "%s") {
        throw "only %s is known";
      }
      at = text_.find('%', at + 1);
    }
    if (places != values) {
      throw "each %s takes one value";
    }
  }

  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

void run(const TraceSite& site, std::string_view literal,
         std::initializer_list<std::string_view> values);

}  // namespace shell_form

/// Traces a command line, with the values as they are, and runs it (my_system). A program that is
/// missing, a command that cannot be run, a "> FILE" that fails are traced and reported as a loss.
template <std::convertible_to<std::string_view>... Values>
void run_command(const TraceSite& site, shell_form::Literal<sizeof...(Values)> literal,
                 const Values&... values) {
  shell_form::run(site, literal.text(), {std::string_view(values)...});
}
