#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/DisplayRow.h"

namespace cronvel {

/// A text whose conversion draws exactly this row, and as few letters as possible in another form
/// than wanted; nothing where there is none.
///
/// The conversion goes from the right end of the row to the left. A character that it knows no
/// glyph for keeps its number, and so draws whatever the font has under that number; the others
/// draw by their neighbours. A 1 is drawn by a number only, and each number comes with all before
/// it in front and swallows the character behind it.
std::optional<std::u16string> composeRow(const std::vector<DisplayCell>& cells);

}  // namespace cronvel
