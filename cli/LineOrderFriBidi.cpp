#include <fribidi/fribidi.h>

#include <new>
#include <numeric>

#include "cli/LineOrder.h"

namespace cronvel {

std::vector<DrawnCharacter> lineOrder(std::u16string_view line) {
  const auto size = static_cast<FriBidiStrIndex>(line.size());
  const std::vector<FriBidiChar> characters(line.begin(), line.end());
  std::vector<FriBidiCharType> types(line.size());
  std::vector<FriBidiBracketType> brackets(line.size());
  std::vector<FriBidiLevel> levels(line.size());
  fribidi_get_bidi_types(characters.data(), size, types.data());
  fribidi_get_bracket_types(characters.data(), size, types.data(), brackets.data());
  FriBidiParType direction = FRIBIDI_PAR_RTL;
  std::vector<FriBidiStrIndex> order(line.size());
  std::iota(order.begin(), order.end(), 0);
  if (line.empty()) return {};
  if (fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), size, &direction,
                                          levels.data()) == 0 ||
      fribidi_reorder_line(FRIBIDI_FLAGS_DEFAULT, types.data(), size, 0, direction, levels.data(),
                           nullptr, order.data()) == 0)
    throw std::bad_alloc();  // the only way in which it can fail

  std::vector<DrawnCharacter> drawn;
  for (const FriBidiStrIndex place : order) {
    const auto index = static_cast<std::size_t>(place);
    drawn.push_back({index, levels[index] % 2 != 0});
  }
  return drawn;
}

}  // namespace cronvel
