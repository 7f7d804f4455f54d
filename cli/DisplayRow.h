#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cronvel {

/// One place of the display's row.
struct DisplayCell {
  std::uint8_t glyph;                    ///< what should be drawn
  std::vector<std::uint8_t> otherForms;  ///< of the same letter, joined otherwise
};

/// What the display should draw for a text that a person typed: letters in their joined forms, in
/// the order in which a line is read. A zero-width non-joiner parts letters and takes no place, nor
/// does any other character that is only for the order or the joining.
struct DisplayRow {
  explicit DisplayRow(std::u16string_view typed);

  std::vector<DisplayCell> cells;  ///< from the left; not to be used if the font lacks something
  std::u16string lacking;          ///< characters that the font lacks, each once
  std::u16string visible;          ///< what was typed without what takes no place
};

}  // namespace cronvel
