#include "cli/Arguments.h"

#include <CLI/StringTools.hpp>
#include <charconv>
#include <chrono>
#include <ctime>
#include <vector>

#include "cli/CommandFailure.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

[[noreturn]] void refuse(const std::string& what, std::string_view text, const std::string& want) {
  throw CommandFailure(ExitStatus::wrongUse,
                       what + ": \"" + std::string(text) + "\" is not " + want);
}

std::optional<int> wholeNumber(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

/// The numbers between the separators, each of one or two digits; empty where the text is not so.
std::vector<int> pairs(std::string_view text, char separator) {
  std::vector<int> numbers;
  while (true) {
    const std::size_t length = std::min(text.find(separator), text.size());
    const auto number = wholeNumber(text.substr(0, length));
    if (length > 2 || !number || *number < 0) return {};
    numbers.push_back(*number);
    if (length == text.size()) return numbers;
    text.remove_prefix(length + 1);
  }
}

/// In the Gregorian calendar or the Persian one, where 31 days have the first six months.
bool isDay(int day, int month) {
  const int longest = month == 9 || month == 11 ? 30 : 31;
  return day >= 1 && day <= longest && month >= 1 && month <= 12;
}

std::string twoDigits(int number) {
  return {static_cast<char>('0' + number / 10 % 10), static_cast<char>('0' + number % 10)};
}

std::string join(int first, int second, int third, char separator) {
  return twoDigits(first) + separator + twoDigits(second) + separator + twoDigits(third);
}

std::tm localTime() {
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  return local ? *local : std::tm{};
}

}  // namespace

int parseNumber(std::string_view text, int lowest, int highest, const std::string& what) {
  const auto number = wholeNumber(text);
  if (!number || *number < lowest || *number > highest)
    refuse(what, text,
           "a number from " + std::to_string(lowest) + " to " + std::to_string(highest));
  return *number;
}

CalendarDay parseDayMonth(std::string_view text, const std::string& what) {
  const auto numbers = pairs(text, '/');
  if (numbers.size() != 2 || !isDay(numbers[0], numbers[1]))
    refuse(what, text, "a day and month such as 21/03");
  return {numbers[0], numbers[1], 0};
}

CalendarDay parseDate(std::string_view text, const std::string& what) {
  const auto numbers = pairs(text, '/');
  if (numbers.size() != 3 || !isDay(numbers[0], numbers[1]))
    refuse(what, text, "a date with day, month and two-digit year such as 31/12/07");
  return {numbers[0], numbers[1], numbers[2]};
}

std::string parseTime(std::string_view text, const std::string& what) {
  auto numbers = pairs(text, ':');
  if (numbers.size() == 2) numbers.push_back(0);
  if (numbers.size() != 3 || numbers[0] > 23 || numbers[1] > 59 || numbers[2] > 59)
    refuse(what, text, "a time such as 23:59:07");
  return join(numbers[0], numbers[1], numbers[2], ':');
}

std::string formatDate(const CalendarDay& date) {
  return join(date.day, date.month, date.year, '/');
}

std::optional<int> dayOfWeek(const CalendarDay& date) {
  using namespace std::chrono;
  const year_month_day day{year{2000 + date.year}, month{static_cast<unsigned>(date.month)},
                           std::chrono::day{static_cast<unsigned>(date.day)}};
  if (!day.ok()) return {};
  return static_cast<int>(weekday{sys_days{day}}.c_encoding()) + 1;
}

CalendarDay today() {
  const std::tm local = localTime();
  return {local.tm_mday, local.tm_mon + 1, local.tm_year % 100};
}

std::string timeNow() {
  const std::tm local = localTime();
  return join(local.tm_hour, local.tm_min, std::min(local.tm_sec, 59), ':');
}

Bytes readBytes(const std::vector<std::string>& numbers, std::size_t count) {
  if (numbers.size() != count)
    throw CommandFailure(ExitStatus::wrongUse, std::to_string(count) + " numbers are needed, not " +
                                                   std::to_string(numbers.size()));
  Bytes bytes;
  for (const std::string& number : numbers)
    bytes.push_back(static_cast<std::uint8_t>(parseNumber(number, 0, 99, "number")));
  return bytes;
}

std::vector<std::string> split(const std::string& text, char separator) {
  return CLI::detail::split(text, separator);
}

std::vector<std::string> words(const std::string& line) { return CLI::detail::split_up(line); }

std::string hexText(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += {digits[byte >> 4], digits[byte & 0xF]};
  }
  return text;
}

/// Editors of Windows put one in front of UTF-8.
static void skipByteOrderMark(std::istream& file) {
  constexpr std::string_view mark = "\uFEFF";
  std::string head(mark.size(), '\0');
  file.read(head.data(), std::ssize(head));
  if (head == mark) return;
  file.clear();
  file.seekg(0);
}

std::vector<std::string> linesOf(const std::string& fileName) {
  const auto path = toPath(toUtf16(fileName));
  const File readable(path, File::Access::read);  // says what is wrong with it
  std::ifstream file(path);
  skipByteOrderMark(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line.front() != '#') lines.push_back(line);
  }
  return lines;
}

}  // namespace cronvel
