#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/base/Bytes.h"

namespace cronvel::simulator {

/// Two hexadecimal digits.
std::string hex(std::uint8_t byte);
/// Bytes in hexadecimal, each with a blank before it.
std::string hexText(Payload bytes);

/// "1 byte", "2 bytes".
std::string plural(std::size_t count, const std::string& what);
/// "3.5 s".
std::string secondsText(double milliseconds);
std::string onOff(bool on);
std::string inQuotes(const std::string& text);

/// Between this program's UTF-8 and the sockets' UTF-16. What cannot be read becomes U+FFFD.
std::string toUtf8(std::u16string_view text);
std::u16string toUtf16(std::string_view text);

}  // namespace cronvel::simulator
