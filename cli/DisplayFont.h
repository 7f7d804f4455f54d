#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "runtime/Bytes.h"

namespace cronvel {

// The font of the terminals' display: what a glyph looks like, and which one a character that is
// typed should have. Which letters there are and their forms, it learns from the conversion.

/// The neighbours that a letter is joined to.
struct Joins {
  bool before;
  bool after;
};
inline constexpr std::array<Joins, 4> allJoins = {
    {{false, false}, {true, false}, {true, true}, {false, true}}};

/// Empty where the font lacks the character.
std::optional<std::uint8_t> glyphOf(char16_t character, Joins joins);

/// Lam and alef in one glyph.
std::uint8_t lamAlefGlyph();

bool isPersianLetter(char16_t character);
/// Whether a letter of the Persian script joins to one that follows.
bool joinsToNext(char16_t character);
/// Whether it joins to one before it.
bool joinsToPrevious(char16_t character);

/// What the conversion makes of a character, other than a digit, between such neighbours. It joins
/// a letter to all that follows but blanks.
std::uint8_t convertedGlyph(char16_t character, Joins joins);
/// Whether it joins a letter to this one before it. It knows no letters that join and have one
/// form.
bool isJoinedByConversion(char16_t character);

/// The row from the left, in UTF-8; a code without a glyph is U+FFFD. Blanks at its right end are
/// left out.
std::string drawnRow(std::span<const std::uint8_t> row);

}  // namespace cronvel
