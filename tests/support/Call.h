#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "control/Cronvel.h"

namespace cronvel::test {

/// What a script prints of a value: "Boolean True", "Byte 24", "Empty".
std::string described(bool value);
std::string described(std::uint8_t value);
std::string described(std::int16_t value);
std::string described(std::int32_t value);
std::string described(const std::u16string& value);
std::string described(const Variant& value);

/// An argument as VBScript writes it.
struct Argument {
  Argument(bool value);
  Argument(std::uint8_t value) : Argument(std::int32_t{value}) {}
  Argument(std::int16_t value) : Argument(std::int32_t{value}) {}
  Argument(std::int32_t value);
  Argument(const std::u16string& value);
  Argument(const Variant& value);
  template <typename T>
  Argument(const std::vector<T>& array) : elements(static_cast<int>(array.size())) {
    for (const T& element : array) add(Argument(element));
    literal = "Array(" + literal + ")";
    loose = "Array(" + loose + ")";
  }

  std::string literal;  ///< in the member's own type
  std::string loose;    ///< as a script may keep it too: a number for its text, 1 for True
  int elements = 0;     ///< of an array

 private:
  void add(const Argument& element);
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

namespace detail {

/// HostArray keeps its elements to itself; these stand for it in a call.
template <typename T>
struct Kept {
  using Type = std::decay_t<T>;
};
template <typename T>
struct Kept<const HostArray<T>&> {
  using Type = std::vector<T>;
};
template <typename T>
using KeptAs = typename Kept<T>::Type;

template <typename R>
constexpr auto kindOf = std::is_void_v<R> ? Call::Kind::procedure : Call::Kind::function;

template <typename Action>
std::string outcomeOf(Action&& action) {
  if constexpr (std::is_void_v<decltype(action())>) {
    action();
    return described(Variant());
  } else {
    return described(action());
  }
}

}  // namespace detail

template <typename R, typename C, typename... P>
Call call(const char* name, R (C::*member)(P...),
          std::type_identity_t<detail::KeptAs<P>>... values) {
  return {detail::kindOf<R>,
          name,
          {Argument(values)...},
          false,
          [=](Cronvel& control, const std::u16string&) {
            return detail::outcomeOf([&] { return (control.*member)(values...); });
          }};
}

/// Of a member whose first argument is the host: it is given when the call is made.
template <typename R, typename C, typename... P>
Call call(const char* name, R (C::*member)(const std::u16string& sRemoteHost, P...),
          std::type_identity_t<detail::KeptAs<P>>... values) {
  return {detail::kindOf<R>,
          name,
          {Argument(values)...},
          true,
          [=](Cronvel& control, const std::u16string& host) {
            return detail::outcomeOf([&] { return (control.*member)(host, values...); });
          }};
}

template <typename T, typename C>
Call get(const char* name, T (C::*member)() const) {
  return {Call::Kind::get, name, {}, false, [=](Cronvel& control, const std::u16string&) {
            return described((control.*member)());
          }};
}

template <typename T, typename C>
Call put(const char* name, void (C::*member)(T), std::type_identity_t<std::decay_t<T>> value) {
  return {Call::Kind::put,
          name,
          {Argument(value)},
          false,
          [=](Cronvel& control, const std::u16string&) {
            (control.*member)(value);
            return described(Variant());
          }};
}

/// A member's name and the member.
#define MEMBER(name) #name, &Cronvel::name

}  // namespace cronvel::test
