#pragma once

#include <cstdint>
#include <string_view>

#include "runtime/Bytes.h"

namespace cronvel {

// Windows code page 1256 (Arabic script), the terminals' own, whatever the PC's is. Every byte is
// a character; below 128 it is ASCII.

/// "?" for a character that the code page lacks. Half of a surrogate pair counts as one.
std::uint8_t toCodePage1256(char16_t character);
/// A byte for every UTF-16 character, so that positions and lengths stay.
Bytes toCodePage1256(std::u16string_view text);

char16_t fromCodePage1256(std::uint8_t byte);

}  // namespace cronvel
