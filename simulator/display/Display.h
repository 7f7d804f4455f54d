#pragma once

#include <string>

#include "simulator/base/Bytes.h"

namespace cronvel::simulator {

/// What a person reads on the terminal's display, in UTF-8 and in reading order. The display draws
/// one glyph for each code from left to right; the reader takes them from right to left, but for
/// numbers, which run from left to right. The blanks that fill the field are left out. A code that
/// the font has no glyph for shows as U+FFFD.
std::string displayedText(Payload codes);

/// The same with each glyph's own form (isolated, final, medial, initial), so that a letter that is
/// joined wrongly shows.
std::string displayedForms(Payload codes);

}  // namespace cronvel::simulator
