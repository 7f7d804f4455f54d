#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "control/Cronvel.h"
#include "runtime/Text.h"

namespace cronvel::test {

/// What a script prints of a value: "Boolean True", "Byte 24", "Empty".
inline std::string described(bool value) { return value ? "Boolean True" : "Boolean False"; }
inline std::string described(std::uint8_t value) { return "Byte " + std::to_string(value); }
inline std::string described(std::int16_t value) { return "Integer " + std::to_string(value); }
inline std::string described(std::int32_t value) { return "Long " + std::to_string(value); }
inline std::string described(const std::u16string& value) { return "String " + toUtf8(value); }
inline std::string described(const Variant& value) {
  if (const auto* number = std::get_if<std::int16_t>(&value)) return described(*number);
  const auto* bytes = std::get_if<Bytes>(&value);
  if (bytes == nullptr) return value.index() == 0 ? "Empty" : "unexpected";
  std::string text = "0.." + std::to_string(std::ssize(*bytes) - 1);
  for (const std::uint8_t byte : *bytes) text += ' ' + std::to_string(byte);
  return text;
}

/// An argument as VBScript writes it.
struct Argument {
  Argument(bool value) : literal(value ? "True" : "False") {}
  Argument(std::int32_t value) : literal(std::to_string(value)) {}
  Argument(const std::u16string& value) : literal('"' + toUtf8(value) + '"') {}
  Argument(const Variant& value) {
    const auto digits = [](double number) {
      char text[32];
      std::snprintf(text, sizeof text, "%.17g", number);
      return std::string(text);
    };
    if (const auto* text = std::get_if<std::u16string>(&value)) literal = Argument(*text).literal;
    if (const auto* number = std::get_if<double>(&value)) literal = digits(*number);
    if (const auto* time = std::get_if<Time>(&value)) literal = "CDate(" + digits(time->days) + ")";
  }
  template <typename T>
  Argument(const HostArray<T>& array) {
    try {
      for (int i = 0;; ++i) literal += (i == 0 ? "Array(" : ", ") + Argument(array.at(i)).literal;
    } catch (const RunTimeError&) {  // there are no more
      literal += ')';
    }
  }
  Argument(const Bytes& array) : Argument(HostArray(array)) {}

  std::string literal;
};

/// One call of a member, in both languages.
struct Call {
  enum class Kind { function, procedure, get, put };

  Kind kind;
  std::string member;
  std::vector<Argument> arguments;  ///< without the host
  bool takesHost;
  /// What it returned, as a script prints it.
  std::function<std::string(Cronvel&, const std::u16string& sRemoteHost)> run;

  /// "SetTime", "ReaderOn (set)".
  std::string name(const char* set = " (set)") const {
    return kind == Kind::put ? member + set : member;
  }
};

template <typename Action>
Call callOf(Call::Kind kind, const char* name, const std::vector<Argument>& arguments,
            bool takesHost, Action action) {
  return {kind, name, arguments, takesHost, [=](Cronvel& control, const std::u16string& host) {
            if constexpr (!std::is_void_v<decltype(action(control, host))>)
              return described(action(control, host));
            action(control, host);
            return described(Variant());
          }};
}

template <typename T>
using Given = std::type_identity_t<std::decay_t<T>>;
template <typename R>
constexpr auto kindOf = std::is_void_v<R> ? Call::Kind::procedure : Call::Kind::function;

template <typename R, typename C, typename... P>
Call call(const char* name, R (C::*member)(P...), Given<P>... values) {
  return callOf(
      kindOf<R>, name, {Argument(values)...}, false,
      [=](Cronvel& control, const std::u16string&) { return (control.*member)(values...); });
}

/// Of a member whose first argument is the host: it is given when the call is made.
template <typename R, typename C, typename... P>
Call call(const char* name, R (C::*member)(const std::u16string&, P...), Given<P>... values) {
  return callOf(kindOf<R>, name, {Argument(values)...}, true,
                [=](Cronvel& control, const std::u16string& host) {
                  return (control.*member)(host, values...);
                });
}

template <typename T, typename C>
Call get(const char* name, T (C::*member)() const) {
  return callOf(Call::Kind::get, name, {}, false,
                [=](Cronvel& control, const std::u16string&) { return (control.*member)(); });
}

template <typename T, typename C>
Call put(const char* name, void (C::*member)(T), Given<T> value) {
  return callOf(Call::Kind::put, name, {Argument(value)}, false,
                [=](Cronvel& control, const std::u16string&) { (control.*member)(value); });
}

/// A member's name and the member.
#define MEMBER(name) #name, &Cronvel::name

}  // namespace cronvel::test
