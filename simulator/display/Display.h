#pragma once

#include <string>

#include "simulator/base/Bytes.h"

namespace cronvel::simulator {

/// What stands on the terminal's display, in UTF-8. The display draws one glyph for each code, from
/// left to right. The blanks that fill the row are left out; a code that the font has no glyph for
/// is U+FFFD.
struct Display {
  Display() = default;
  explicit Display(Payload codes);

  /// From the left, each glyph in its own form (isolated, final, medial, initial), so that a letter
  /// that is joined wrongly shows.
  std::string drawn;
  /// As a person reads it: with Persian letters in it from the right, but for Latin words and for
  /// numbers, which run from the left; without, from the left.
  std::string read;

  /// Both, for people, whose screens must not turn the row round.
  std::string told() const;
};

}  // namespace cronvel::simulator
