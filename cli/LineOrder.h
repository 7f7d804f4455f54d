#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace cronvel {

/// One place of a drawn line.
struct DrawnCharacter {
  std::size_t index;  ///< of the character that stands there
  bool fromTheRight;  ///< part of what is read from the right, so that a bracket is mirrored
};

/// Where the characters of a line that is read from the right stand, from the left, by the Unicode
/// bidirectional algorithm. Each system has a library of its own for it.
std::vector<DrawnCharacter> lineOrder(std::u16string_view line);

}  // namespace cronvel
