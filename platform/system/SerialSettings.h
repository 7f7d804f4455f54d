#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/SerialLineEnd.h"

namespace cronvel {

/// What a settings text such as "600,m,8,1" says.
struct SerialSettings {
  std::int32_t speed = 9600;
  LineSettings::Parity parity = LineSettings::Parity::none;
  int dataBits = 8;
  bool longStop = false;  ///< two stop bits (with 5 data bits, one and a half)

  /// Raises 380.
  static SerialSettings parse(std::string_view text);

  /// Bits that a byte takes on the wire.
  int bitsPerByte() const;
  /// Whether a line of this speed, in baud, will do: frames stand a deviation of 2.5 %, and drivers
  /// tell what their divisor comes to, such as 602 for 600.
  bool toleratesSpeed(std::int64_t actual) const;
  /// As the subject of a sentence.
  std::string nameOfParity() const;

  bool operator==(const SerialSettings&) const = default;
};

}  // namespace cronvel
