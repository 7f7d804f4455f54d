#pragma once

#include <span>
#include <string_view>

namespace cronvel {

/// A speed at which a terminal streams its records over the serial line.
struct StreamSpeed {
  std::u16string_view text;  ///< as `BPS` has it
  int code;                  ///< what the terminal calls it
};

/// All of them, the slowest first. (Most codes are 256 - 28800 / speed; those of 110, 300 and 19200
/// are not.)
inline std::span<const StreamSpeed> streamSpeeds() {
  static constexpr StreamSpeed speeds[] = {
      {u"110", 10},   {u"150", 64},   {u"300", 117},  {u"600", 208},   {u"1200", 232},
      {u"2400", 244}, {u"4800", 250}, {u"9600", 253}, {u"19200", 254},
  };
  return speeds;
}

}  // namespace cronvel
