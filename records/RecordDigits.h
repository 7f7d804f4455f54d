#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace cronvel {

/// Whether a byte of a record is not two decimal digits: a marker, or damage.
constexpr bool isDamaged(std::uint8_t byte) { return (byte >> 4) > 9 || (byte & 0xF) > 9; }

/// The two digits of each byte, the first one lowest. One that is none reads "?".
inline constexpr auto digitPairs = [] {
  const auto digit = [](std::size_t nibble) { return "0123456789??????"[nibble]; };
  std::array<std::uint16_t, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte)
    pairs[byte] = static_cast<std::uint16_t>(digit(byte / 16) | digit(byte % 16) << 8);
  return pairs;
}();

static_assert(std::endian::native == std::endian::little, "digits are written as whole words");

/// Four digits, to be written in one piece.
inline std::uint32_t fourDigits(const std::uint8_t* bytes) {
  return digitPairs[bytes[0]] | std::uint32_t{digitPairs[bytes[1]]} << 16;
}

/// How many bytes there are before the first one that is not two digits.
inline std::size_t digitsAtStart(std::span<const std::uint8_t> bytes) {
  std::size_t count = 0;
  for (std::uint64_t word; bytes.size() - count >= sizeof word; count += sizeof word) {
    std::memcpy(&word, &bytes[count], sizeof word);
    // A digit over 9 has its highest bit and one of the next two.
    if ((word & (word << 1 | word << 2) & 0x8888888888888888) != 0) break;
  }
  while (count < bytes.size() && !isDamaged(bytes[count])) ++count;
  return count;
}

}  // namespace cronvel
