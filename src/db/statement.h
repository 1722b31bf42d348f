#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "values/format_place.h"

// Statements, made from a printf-like literal, so that nothing from outside becomes syntax. The
// literal is checked at compile time: a "%s" between single quotes takes any text, which is escaped;
// one outside of them takes only a name of ours or a text that is checked to be a number. "%d" and
// "%u", with or without width, take integers. Anything else does not compile.

/// A name of ours in a statement: of a database, a table or a column, or an operator.
class SqlName {
 public:
  consteval SqlName(const char* literal) : text_(literal) {}  // NOLINT: stands for its literal

  /// The name in one of the exported tables of names.
  static SqlName exported(const char* const& entry) { return SqlName(std::string_view(entry)); }

  constexpr std::string_view text() const { return text_; }
  const char* c_str() const { return text_.data(); }           // names end with a NUL
  operator std::string() const { return std::string(text_); }  // NOLINT: a name is a text, too

 private:
  explicit constexpr SqlName(std::string_view text) : text_(text) {}

  std::string_view text_;
};

/// A text that has been escaped; goes between single quotes as it is.
class SqlText {
 public:
  /// The empty text.
  SqlText() = default;

  /// None when `raw` cannot be escaped.
  static std::optional<SqlText> escaped(std::string_view raw);

  /// The empty text then.
  static SqlText escaped_or_empty(std::string_view raw) { return escaped(raw).value_or(SqlText()); }

  const std::string& text() const { return text_; }

 private:
  explicit SqlText(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

/// A text that goes between single quotes as it was received. One that would end the quotes makes
/// its statement unsound.
struct AsReceived {
  std::string_view text;
};

/// A text that goes where a number belongs. Anything but digits, with or without a sign, makes its
/// statement unsound.
struct SqlNumber {
  std::string_view text;
};

/// A statement, or a piece of one. It may be sent when it is `sound`: every value could be put in.
struct Statement {
  std::string text;
  bool sound = true;
};

namespace sql_form {

enum class Kind { text, ready, bare, signed_number, unsigned_number };

template <typename Value>
consteval Kind kind_of() {
  using T = std::remove_cvref_t<Value>;
  if constexpr (std::same_as<T, SqlName> || std::same_as<T, SqlNumber> ||
                std::same_as<T, Statement>) {
    return Kind::bare;
  } else if constexpr (std::same_as<T, SqlText> || std::same_as<T, AsReceived>) {
    return Kind::ready;
  } else if constexpr (std::is_integral_v<T> && !std::same_as<T, bool> && !std::same_as<T, char>) {
    return std::is_signed_v<T> ? Kind::signed_number : Kind::unsigned_number;
  } else {
    static_assert(std::is_convertible_v<const T&, std::string_view>,
                  "a statement takes texts, integers and the types of db/statement.h");
    return Kind::text;
  }
}

/// A view of a value for a statement, for the duration of the call.
struct Argument {
  Kind kind = Kind::text;
  std::string_view text;
  std::uint64_t number = 0;  // the bits of a signed one
  bool sound = true;

  template <typename Value>
  Argument(const Value& value) : kind(kind_of<Value>()) {  // NOLINT: made from values alone
    if constexpr (std::is_integral_v<Value>) {
      number = static_cast<std::uint64_t>(value);
    } else if constexpr (std::same_as<Value, SqlName> || std::same_as<Value, SqlText>) {
      text = value.text();
    } else if constexpr (std::same_as<Value, Statement>) {
      text = value.text;
      sound = value.sound;
    } else if constexpr (std::same_as<Value, AsReceived>) {
      text = value.text;
      sound = text.find_first_of("'\\") == std::string_view::npos;
    } else if constexpr (std::same_as<Value, SqlNumber>) {
      text = value.text;
      const std::size_t sign = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
      sound = text.size() > sign &&
              text.find_first_not_of("0123456789", sign) == std::string_view::npos;
    } else {
      text = value;
    }
  }
};

/// Throws why a value of that kind does not fit the place; at compile time that is an error. `quoted`:
/// between single quotes.
constexpr void expect_fit(Kind kind, const FormatPlace& place, bool quoted) {
  const bool is_number = kind == Kind::signed_number || kind == Kind::unsigned_number;
  if (place.conversion == 's') {
    if (is_number) {
      throw "%s takes no integer";
    }
    if (quoted && kind == Kind::bare) {
      throw "a name between single quotes";
    }
    if (!quoted && kind != Kind::bare) {
      throw "a text outside of single quotes would be syntax";
    }
  } else if (place.conversion == 'd' || place.conversion == 'u') {
    if (!is_number) {
      throw "%d and %u take integers";
    }
    if ((kind == Kind::signed_number) != (place.conversion == 'd')) {
      throw "%d takes signed integers, %u unsigned ones";
    }
  } else {
    throw "only %s, %d, %u and %% are known";
  }
}

/// Throws why values of these kinds do not fit `literal`.
template <std::size_t count>
constexpr void expect_fit(std::string_view literal, const std::array<Kind, count>& kinds) {
  std::size_t used = 0;
  bool quoted = false;
  for (std::size_t at = 0; at < literal.size();) {
    if (literal[at] != '%') {
      quoted = quoted != (literal[at++] == '\'');
      continue;
    }
    const FormatPlace place = format_place_at(literal, at);
    at = place.end;
    if (place.conversion == '%') {
      continue;
    }
    if (used == count) {
      throw "fewer values than places";
    }
    expect_fit(kinds[used++], place, quoted);
  }
  if (quoted) {
    throw "single quotes are left open";
  }
  if (used < count) {
    throw "more values than places";
  }
}

/// The text of a statement whose values fit its places.
template <typename... Values>
class Literal {
 public:
  consteval Literal(const char* literal) : text_(literal) {  // NOLINT: stands for its literal
    expect_fit(text_, std::array<Kind, sizeof...(Values)>{kind_of<Values>()...});
  }

  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

Statement fill_in(std::string_view literal, std::initializer_list<Argument> values);

}  // namespace sql_form

template <typename... Values>
using SqlLiteral = sql_form::Literal<std::type_identity_t<Values>...>;

/// The statement, or piece of one, that `literal` and the values make.
template <typename... Values>
Statement statement(SqlLiteral<Values...> literal, const Values&... values) {
  return sql_form::fill_in(literal.text(), {sql_form::Argument(values)...});
}
