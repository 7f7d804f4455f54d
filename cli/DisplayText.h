#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "runtime/Bytes.h"

namespace cronvel {

/// A text on a terminal's display has one of these.
struct DisplayField {
  const char* name;   ///< for the person
  std::size_t width;  ///< in glyphs
};
inline constexpr DisplayField messageField{"a message", 31};
inline constexpr DisplayField modeNameField{"a mode name", 16};

/// What the control is given so that a terminal shows what a person typed.
struct DisplayText {
  std::u16string text;
  Bytes row;                 ///< the glyphs that are drawn, from the left
  std::string reading = {};  ///< what was typed, without what cannot be seen
  std::string remark = {};   ///< what is not quite as typed, for the person
  bool sentAsItIs = false;   ///< then there is no reading
};

/// A text whose conversion draws what was typed. Fails with `wrongUse` where there is none, and
/// says why and what would be shown.
DisplayText composeText(std::string_view typed, const DisplayField& field);

/// What was typed as it is, whatever the conversion makes of it.
DisplayText textAsItIs(std::string_view typed, const DisplayField& field);

/// One or the other.
DisplayText displayText(std::string_view typed, const DisplayField& field, bool asItIs);

/// The row from the left in quotes, for people whose screens must not turn it round.
std::string quotedRow(const DisplayText& text);

}  // namespace cronvel
