#pragma once

#include <array>
#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "trace/trace_log.h"
#include "values/format_place.h"

// Command lines for the shell, made from a literal as printf does, so that nothing from outside
// becomes syntax: "%s" takes a text, which becomes one word, or a part of what double quotes around
// the place hold; "%d" takes an int.

namespace shell_form {

struct Argument {
  std::string_view text;
  int number = 0;

  Argument(int value) : number(value) {}  // NOLINT: made from values alone
  template <std::convertible_to<std::string_view> Text>
  Argument(const Text& value) : text(value) {}  // NOLINT
};

template <typename... Values>
class Literal {
 public:
  consteval Literal(const char* literal) : text_(literal) {  // NOLINT: stands for its literal
    constexpr std::array<char, sizeof...(Values)> conversions{
        (std::same_as<std::remove_cvref_t<Values>, int> ? 'd' : 's')...};
    std::size_t used = 0;
    for (std::size_t at = text_.find('%'); at != std::string_view::npos;) {
      const FormatPlace place = format_place_at(text_, at);
      if (used == conversions.size() || conversions[used++] != place.conversion) {
        throw "%s takes a text, %d an int";
      }
      at = text_.find('%', place.end);
    }
    if (used != conversions.size()) {
      throw "more values than places";
    }
  }

  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

void run(const TraceSite& site, std::string_view literal, std::initializer_list<Argument> values);

}  // namespace shell_form

/// Traces a command line, with the values as they are, and runs it (my_system). A program that is
/// missing, a command that cannot be run, a "> FILE" that fails are traced and reported as a loss.
template <typename... Values>
void run_command(const TraceSite& site,
                 shell_form::Literal<std::type_identity_t<Values>...> literal,
                 const Values&... values) {
  shell_form::run(site, literal.text(), {shell_form::Argument(values)...});
}
