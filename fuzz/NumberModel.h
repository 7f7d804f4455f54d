#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string>

namespace cronvel::fuzz {

inline double decimalOf(std::string digits) {
  std::ranges::replace_if(
      digits, [](char c) { return c == 'd' || c == 'D'; }, 'e');
  return std::strtod(digits.c_str(), nullptr);
}

inline double radixOf(const std::string& digits, int radix) {
  double value = 0;
  for (const char c : digits) value = value * radix + std::stoi(std::string(1, c), nullptr, 16);
  return value;
}

/// The number that a text stands for; nothing where it is none.
inline std::optional<double> numberOf(const std::string& text) {
  static const std::regex decimal(" *([+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([EeDd][+-]?[0-9]+)?) *");
  static const std::regex hexadecimal(" *&[hH]([0-9a-fA-F]+) *");
  std::smatch found;
  if (std::regex_match(text, found, decimal)) return decimalOf(found[1]);
  if (std::regex_match(text, found, hexadecimal)) return radixOf(found[1], 16);
  return std::nullopt;
}

/// The value of its leading part.
inline double leadingValue(std::string text) {
  static const std::regex decimal("[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([EeDd][+-]?[0-9]+)?");
  static const std::regex radix("&[hH]([0-9a-fA-F]*)|&[oO]([0-7]*)");
  std::erase(text, ' ');
  std::smatch found;
  const auto start = std::regex_constants::match_continuous;
  if (std::regex_search(text, found, radix, start))
    return radixOf(found[1].str() + found[2].str(), found[2].matched ? 8 : 16);
  return std::regex_search(text, found, decimal, start) ? decimalOf(found[0]) : 0;
}

}  // namespace cronvel::fuzz
