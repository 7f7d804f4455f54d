#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "runtime/Bytes.h"

namespace cronvel {

/// A point in time as the host's runtime has it: days (with a fraction of a day) since 30 December
/// 1899. A bare time of day lies between 0 and 1.
struct Time {
  double days = 0;
  bool operator==(const Time&) const = default;
};

/// The few kinds of value that the interface passes as a variant: nothing, Boolean, 16-bit and
/// 32-bit integers, a number, a time, text, bytes.
using Variant = std::variant<std::monostate, bool, std::int16_t, std::int32_t, double, Time,
                             std::u16string, Bytes>;

}  // namespace cronvel
