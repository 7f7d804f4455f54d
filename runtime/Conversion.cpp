#include "runtime/Conversion.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

/// As a person writes it: 256, 12.5; a whole number never as 1e+05.
std::string shortest(double value) {
  if (std::trunc(value) == value && std::fabs(value) < 1e15)
    return std::to_string(static_cast<std::int64_t>(value));
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return {text.data(), end};
}

template <typename Int>
Int rounded(double value) {
  const double nearest = std::nearbyint(value);  // the default mode: half to even
  if (!(nearest >= std::numeric_limits<Int>::min() && nearest <= std::numeric_limits<Int>::max()))
    throw RunTimeError(ErrorNumber::overflow, shortest(value) + " is outside " +
                                                  std::to_string(std::numeric_limits<Int>::min()) +
                                                  " to " +
                                                  std::to_string(std::numeric_limits<Int>::max()));
  return static_cast<Int>(nearest);
}

RunTimeError mismatch(std::u16string_view text, const std::string& wanted) {
  return RunTimeError(ErrorNumber::typeMismatch, "\"" + toUtf8(text) + "\" is not " + wanted);
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

/// Reads a number from the front of a text; what is left tells the caller whether that was all.
class NumberReader {
 public:
  /// The leading part that can be read, or all of it: then there are no blanks inside and no octal
  /// numbers.
  enum class Part { leading, all };
  NumberReader(std::u16string_view text, Part part) : mText(text), mPart(part) {}

  /// Nothing where no number begins.
  std::optional<double> read() {
    if (const auto radixed = readRadixed()) return radixed;
    std::string number;
    if (peek() == u'-' || peek() == u'+') {
      if (take() == u'-') number += '-';
    }
    const std::size_t digits = readDigits(number) + readFraction(number);
    if (digits == 0) return std::nullopt;
    readExponent(number);
    return parse(number);
  }

  bool atEnd() { return peek() == u'\0' && mPos == mText.size(); }

 private:
  char16_t peek() {
    while (mPart == Part::leading && mPos < mText.size() && mText[mPos] == u' ') ++mPos;
    return mPos < mText.size() ? mText[mPos] : u'\0';
  }

  char16_t take() {
    const char16_t c = peek();
    if (c != u'\0') ++mPos;
    return c;
  }

  std::size_t readDigits(std::string& number) {
    std::size_t count = 0;
    for (; isDigit(peek()); ++count) number += static_cast<char>(take());
    return count;
  }

  std::size_t readFraction(std::string& number) {
    if (peek() != u'.') return 0;
    take();
    number += '.';
    return readDigits(number);
  }

  void readExponent(std::string& number) {
    const std::size_t before = mPos;
    const char16_t mark = peek();
    if (mark != u'e' && mark != u'E' && mark != u'd' && mark != u'D') return;
    take();
    std::string exponent = "e";
    if (peek() == u'-' || peek() == u'+') exponent += static_cast<char>(take());
    if (readDigits(exponent) == 0)
      mPos = before;  // the letter did not belong to the number
    else
      number += exponent;
  }

  std::optional<double> readRadixed() {
    const std::size_t before = mPos;
    if (take() != u'&') {
      mPos = before;
      return std::nullopt;
    }
    const char16_t letter = take();
    const bool octal = letter == u'o' || letter == u'O';
    const int radix = letter == u'h' || letter == u'H' ? 16 : octal ? 8 : 0;
    const std::size_t digits = mPos;
    const double value = readRadixDigits(radix);
    if (mPart == Part::leading ? radix != 0 : radix == 16 && mPos > digits) return value;
    mPos = before;
    return std::nullopt;
  }

  double readRadixDigits(int radix) {
    double value = 0;
    for (int digit = digitAt(); digit >= 0 && digit < radix; digit = digitAt()) {
      value = value * radix + digit;
      take();
    }
    return value;
  }

  int digitAt() {
    const char16_t c = peek();
    if (isDigit(c)) return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
  }

  static double parse(const std::string& number) {
    double value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec != std::errc::result_out_of_range) return value;
    // Underflow is 0; overflow is past every integer type.
    if (isTiny(number)) return 0;
    constexpr double past = std::numeric_limits<double>::infinity();
    return number.front() == '-' ? -past : past;
  }

  /// Of a number that no double can hold: whether it lies below 1. Where its first digit stands
  /// decides, and the exponent.
  static bool isTiny(const std::string& number) {
    const std::size_t mark = std::min(number.find('e'), number.size());
    const auto point = static_cast<std::int64_t>(std::min(number.find('.'), mark));
    const auto first = static_cast<std::int64_t>(number.find_first_of("123456789"));
    constexpr std::int64_t farOff = 1'000'000'000;
    const std::int64_t exponent =
        mark == number.size() ? 0 : std::strtol(number.c_str() + mark + 1, nullptr, 10);
    return point - first + std::clamp(exponent, -farOff, farOff) < 0;
  }

  std::u16string_view mText;
  Part mPart;
  std::size_t mPos = 0;
};

/// Splits "11:59:07 PM" into its numbers; empty where the text is no time.
std::vector<int> timeFields(std::u16string_view text) {
  std::vector<int> fields;
  std::size_t i = 0;
  while (true) {
    std::size_t digits = 0;
    int value = 0;
    for (; i < text.size() && isDigit(text[i]) && digits < 3; ++i, ++digits)
      value = value * 10 + (text[i] - u'0');
    if (digits == 0 || digits > 2) return {};
    fields.push_back(value);
    if (i == text.size()) return fields;
    if (text[i] != u':' || fields.size() == 3) return {};
    ++i;
  }
}

/// 'A' or 'P' when the text ends in AM or PM, which is removed; else 0.
char takeMeridiem(std::u16string_view& text) {
  if (text.size() < 2) return 0;
  const char16_t last = text[text.size() - 1];
  const char16_t first = text[text.size() - 2];
  if (last != u'm' && last != u'M') return 0;
  const bool am = first == u'a' || first == u'A';
  const bool pm = first == u'p' || first == u'P';
  if (!am && !pm) return 0;
  text = trim(text.substr(0, text.size() - 2));
  return am ? 'A' : 'P';
}

std::int32_t secondsOfText(std::u16string_view whole) {
  std::u16string_view text = trim(whole);
  const char meridiem = takeMeridiem(text);
  std::vector<int> fields = timeFields(text);
  const bool alone = fields.size() == 1 && meridiem == 0;  // "7" alone is a number, not a time
  if (fields.empty() || alone) throw mismatch(whole, "a time such as 23:59:07");
  fields.resize(3, 0);
  if (meridiem != 0) {
    if (fields[0] < 1 || fields[0] > 12) throw mismatch(whole, "a time such as 11:59:07 PM");
    fields[0] = fields[0] % 12 + (meridiem == 'P' ? 12 : 0);
  }
  if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59)
    throw mismatch(whole, "a time such as 23:59:07");
  return fields[0] * 3600 + fields[1] * 60 + fields[2];
}

std::int32_t secondsOfDays(double days) {
  if (!std::isfinite(days)) throw RunTimeError(ErrorNumber::overflow, "the time is not a number");
  // Before the first day of the calendar the fraction still counts forward within its day.
  const double fraction = std::fabs(days - std::trunc(days));
  return static_cast<std::int32_t>(std::floor(fraction * 86400 + 0.5)) % 86400;
}

std::optional<double> numberOf(const Variant& value) {
  if (const auto* b = std::get_if<bool>(&value)) return *b ? -1 : 0;
  if (const auto* i = std::get_if<std::int16_t>(&value)) return *i;
  if (const auto* l = std::get_if<std::int32_t>(&value)) return *l;
  if (const auto* d = std::get_if<double>(&value)) return *d;
  if (const auto* t = std::get_if<Time>(&value)) return t->days;
  if (const auto* s = std::get_if<std::u16string>(&value)) return toNumber(*s);
  if (std::holds_alternative<std::monostate>(value)) return 0;
  return std::nullopt;
}

double requireNumber(const Variant& value) {
  const auto number = numberOf(value);
  if (!number) throw RunTimeError(ErrorNumber::typeMismatch, "a byte array is not a number");
  return *number;
}

bool toBoolean(const Variant& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) {
    if (*text == u"True" || *text == u"true") return true;
    if (*text == u"False" || *text == u"false") return false;
  }
  return requireNumber(value) != 0;
}

std::u16string toText(const Variant& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return *text;
  if (const auto* b = std::get_if<bool>(&value)) return *b ? u"True" : u"False";
  if (std::holds_alternative<std::monostate>(value)) return {};
  return toUtf16(shortest(requireNumber(value)));
}

}  // namespace

std::uint8_t toByte(double value) { return rounded<std::uint8_t>(value); }
std::int16_t toInteger(double value) { return rounded<std::int16_t>(value); }
std::int32_t toLong(double value) { return rounded<std::int32_t>(value); }
std::int32_t toLong(std::u16string_view text) { return toLong(toNumber(text)); }

double toNumber(std::u16string_view text) {
  NumberReader reader(trim(text), NumberReader::Part::all);
  const auto number = reader.read();
  if (!number || !reader.atEnd()) throw mismatch(text, "a number");
  return *number;
}

double numericValue(std::u16string_view text) {
  return NumberReader(text, NumberReader::Part::leading).read().value_or(0.0);
}

std::int32_t secondsOfDay(const Variant& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return secondsOfText(*text);
  if (std::holds_alternative<std::monostate>(value))
    throw RunTimeError(ErrorNumber::typeMismatch, "no time was given");
  return secondsOfDays(requireNumber(value));
}

std::u16string_view trim(std::u16string_view text) {
  const std::size_t first = text.find_first_not_of(u' ');
  if (first == std::u16string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

Variant convertLike(const Variant& value, const Variant& like) {
  if (std::holds_alternative<bool>(like)) return toBoolean(value);
  if (std::holds_alternative<std::int16_t>(like)) return toInteger(requireNumber(value));
  if (std::holds_alternative<std::int32_t>(like)) return toLong(requireNumber(value));
  if (std::holds_alternative<double>(like)) return requireNumber(value);
  if (std::holds_alternative<std::u16string>(like)) return toText(value);
  return value;
}

}  // namespace cronvel
