#pragma once

#include <cstdint>
#include <optional>

namespace cronvel::simulator {

/// The number that a packed BCD byte stands for; nothing when a nibble is no digit.
constexpr std::optional<int> fromBcd(std::uint8_t byte) {
  const int tens = byte >> 4;
  const int units = byte & 0x0F;
  if (tens > 9 || units > 9) return std::nullopt;
  return tens * 10 + units;
}

/// Tens in the high nibble, units in the low. 100 to 159 give a high nibble above 9, as the
/// addresses of terminals with such numbers do.
constexpr std::uint8_t toBcd(int number) {
  return static_cast<std::uint8_t>((number / 10) * 16 + number % 10);
}

}  // namespace cronvel::simulator
