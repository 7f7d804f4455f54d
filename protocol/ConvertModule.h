#pragma once

#include <string_view>

#include "runtime/Bytes.h"

namespace cronvel {

/// Turns a text into what a terminal's display draws: one glyph code per byte, from left to right.
/// Letters of the Persian script get the glyph that joins to their neighbours, and the text is
/// reversed but for its runs of digits, which keep their order. Never fails; what the terminals'
/// code page lacks becomes "?".
///
/// Terminals and hosts are used to three peculiarities, which stay:
/// - the character right after a run of digits is lost, so that a blank belongs there;
/// - a run of digits comes with all runs before it in front;
/// - lam-alef keeps only the first two glyphs of all that was before it.
///
/// The digits can make the result longer than the text; callers cut it to their field.
Bytes convertText(std::u16string_view text);

}  // namespace cronvel
