#pragma once

#include <cstdint>

#include "runtime/Conversion.h"

namespace cronvel {

/// Two decimal digits in a byte, tens in the high nibble. Not range-checked: 100 to 159 give bytes
/// that are not decimal, and 160 and more a value that fits no byte, which shows where the value is
/// narrowed.
constexpr int packedBcd(int number) { return number / 10 * 16 + number % 10; }

/// The same, narrowed: raises 6 from 160 on.
inline std::uint8_t bcdByte(int number) { return toByte(packedBcd(number)); }

}  // namespace cronvel
