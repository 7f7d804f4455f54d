#include "tests/support/Call.h"

#include <algorithm>
#include <cstdio>

#include "runtime/Text.h"

namespace cronvel::test {

std::string described(bool value) { return value ? "Boolean True" : "Boolean False"; }
std::string described(std::uint8_t value) { return "Byte " + std::to_string(value); }
std::string described(std::int16_t value) { return "Integer " + std::to_string(value); }
std::string described(std::int32_t value) { return "Long " + std::to_string(value); }
std::string described(const std::u16string& value) { return "String " + toUtf8(value); }

std::string described(const Variant& value) {
  if (const auto* number = std::get_if<std::int16_t>(&value)) return described(*number);
  const auto* bytes = std::get_if<Bytes>(&value);
  if (bytes == nullptr) return value.index() == 0 ? "Empty" : "unexpected";
  std::string text = "0.." + std::to_string(std::ssize(*bytes) - 1);
  for (const std::uint8_t byte : *bytes) text += ' ' + std::to_string(byte);
  return text;
}

Argument::Argument(bool value) : literal(value ? "True" : "False"), loose(value ? "1" : "0") {}

Argument::Argument(std::int32_t value) : literal(std::to_string(value)), loose(literal) {}

Argument::Argument(const std::u16string& value)
    : literal('"' + toUtf8(value) + '"'), loose(literal) {
  const auto isDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  if (value.empty())
    loose = "Empty";
  else if (value[0] != u'0' && std::all_of(value.begin(), value.end(), isDigit))
    loose = toUtf8(value);
}

Argument::Argument(const Variant& value) {
  const auto digits = [](double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", number);
    return std::string(text);
  };
  if (const auto* text = std::get_if<std::u16string>(&value)) literal = Argument(*text).literal;
  if (const auto* number = std::get_if<double>(&value)) literal = digits(*number);
  if (const auto* time = std::get_if<Time>(&value)) literal = "CDate(" + digits(time->days) + ")";
  loose = literal;
}

void Argument::add(const Argument& element) {
  literal += (literal.empty() ? "" : ", ") + element.literal;
  loose += (loose.empty() ? "" : ", ") + element.loose;
}

}  // namespace cronvel::test
