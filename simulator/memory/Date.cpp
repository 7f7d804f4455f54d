#include "simulator/memory/Date.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

std::chrono::year_month_day gregorian(const Date& date) {
  return {std::chrono::year(2000 + date.year),
          std::chrono::month(static_cast<unsigned>(date.month)),
          std::chrono::day(static_cast<unsigned>(date.day))};
}

std::optional<int> twoDigits(std::string_view text) {
  if (text[0] < '0' || text[0] > '9' || text[1] < '0' || text[1] > '9') return std::nullopt;
  return (text[0] - '0') * 10 + (text[1] - '0');
}

bool plausible(int day, int month) { return day >= 1 && day <= 31 && month >= 1 && month <= 12; }

}  // namespace

std::string toText(const Date& date) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d/%02d/%02d", date.day, date.month, date.year);
  return text.data();
}

std::optional<Date> parseDate(std::string_view text) {
  if (text.size() != 8 || text[2] != '/' || text[5] != '/') return std::nullopt;
  const auto day = twoDigits(text.substr(0, 2));
  const auto month = twoDigits(text.substr(3, 2));
  const auto year = twoDigits(text.substr(6, 2));
  if (!day || !month || !year || !plausible(*day, *month)) return std::nullopt;
  return Date{*year, *month, *day};
}

std::optional<Date> dayAndMonth(std::span<const std::uint8_t> bytes) {
  const auto day = fromBcd(bytes[0]);
  const auto month = fromBcd(bytes[1]);
  if (!day || !month || !plausible(*day, *month)) return std::nullopt;
  return Date{0, *month, *day};
}

std::optional<Date> dateFrom(std::span<const std::uint8_t> bytes) {
  auto date = dayAndMonth(bytes);
  const auto year = fromBcd(bytes[2]);
  if (!date || !year) return std::nullopt;
  date->year = *year;
  return date;
}

Date nextDay(const Date& date) {
  const Date next{date.year, date.month, date.day + 1};
  if (isGregorian(next)) return next;
  if (date.month < 12) return {date.year, date.month + 1, 1};
  return {(date.year + 1) % 100, 1, 1};
}

bool isGregorian(const Date& date) { return gregorian(date).ok(); }

bool isFriday(const Date& date) {
  return isGregorian(date) &&
         std::chrono::weekday(std::chrono::sys_days(gregorian(date))) == std::chrono::Friday;
}

}  // namespace cronvel::simulator
