#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/Variant.h"

namespace cronvel {

// Conversions with the rules of the host's runtime. To an integer type they round half to even and
// raise 6 (overflow) out of range. From text they accept blanks around it, a sign, a fraction, an
// exponent (E or D), and hexadecimal after "&H"; other text raises 13 (type mismatch).

std::uint8_t toByte(double value);
std::int16_t toInteger(double value);
std::int32_t toLong(double value);
std::int32_t toLong(std::u16string_view text);

/// The number that the whole text stands for, or 13.
double toNumber(std::u16string_view text);

/// The numeric value of the leading part of a text, hexadecimal or octal after "&H" or "&O". Never
/// fails: blanks anywhere are passed over, it stops at the first character that cannot belong, and
/// is 0 when there is nothing.
double numericValue(std::u16string_view text);

/// A time of day, in seconds since midnight, of a time, a number or a text such as 23:59:07, 7:05
/// or 11:59:07 PM; rounded to the second. 13 for anything else, an empty variant included.
std::int32_t secondsOfDay(const Variant& value);

/// Removes blanks (0x20 only) at both ends.
std::u16string_view trim(std::u16string_view text);

/// The variant's value in the type of `like`. Raises 13 or 6.
Variant convertLike(const Variant& value, const Variant& like);

}  // namespace cronvel
