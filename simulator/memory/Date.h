#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cronvel::simulator {

/// A date as a terminal keeps it: two digits of year, and no opinion on the calendar beyond 12
/// months of at most 31 days (hosts set dates of more than one calendar).
struct Date {
  int year = 0;
  int month = 1;
  int day = 1;

  auto operator<=>(const Date&) const = default;
};

/// "DD/MM/YY".
std::string toText(const Date& date);

/// Reads "DD/MM/YY"; nothing when it is none.
std::optional<Date> parseDate(std::string_view text);

/// Day and month from two BCD bytes in this order; nothing when they are none. The year stays 0.
std::optional<Date> dayAndMonth(std::span<const std::uint8_t> bytes);

/// Day, month and year from three BCD bytes; nothing when they are none.
std::optional<Date> dateFrom(std::span<const std::uint8_t> bytes);

/// The day after, by the Gregorian months of 20YY.
Date nextDay(const Date& date);

/// Whether 20YY-MM-DD exists and is a Friday, the weekly day off.
bool isFriday(const Date& date);

/// Whether 20YY-MM-DD exists.
bool isGregorian(const Date& date);

}  // namespace cronvel::simulator
