#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/Bytes.h"

namespace cronvel {

/// A decimal number within bounds, or a `wrongUse` failure that names `what`. (The argument
/// parser's own conversion takes 010 for eight.)
int parseNumber(std::string_view text, int lowest, int highest, const std::string& what);

/// Exactly `count` decimal numbers from 0 to 99.
Bytes readBytes(const std::vector<std::string>& numbers, std::size_t count);

/// The parts between the separators.
std::vector<std::string> split(const std::string& text, char separator);
/// The parts between blanks; quotes hold a part together.
std::vector<std::string> words(const std::string& line);

/// "ED 12 34".
std::string hexText(std::span<const std::uint8_t> bytes);

/// The lines of a text file, without those that are empty or start with "#". Raises 53.
std::vector<std::string> linesOf(const std::string& fileName);

/// A day of the calendar that the terminal keeps, which need not be the PC's.
struct CalendarDay {
  int day = 0;
  int month = 0;
  int year = 0;  ///< two digits; 0 where the text has none
};

CalendarDay parseDayMonth(std::string_view text, const std::string& what);
CalendarDay parseDate(std::string_view text, const std::string& what);
/// HH:MM or HH:MM:SS, returned as HH:MM:SS.
std::string parseTime(std::string_view text, const std::string& what);

/// DD/MM/YY.
std::string formatDate(const CalendarDay& date);
/// Sunday 1 to Saturday 7; empty for a day that 2000 to 2099 do not have.
std::optional<int> dayOfWeek(const CalendarDay& date);

CalendarDay today();
/// HH:MM:SS of the PC's clock.
std::string timeNow();

}  // namespace cronvel
