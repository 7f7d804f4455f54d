#include "cli/DisplayFont.h"

#include <array>
#include <string_view>

#include "protocol/ConvertModule.h"
#include "runtime/CodePage1256.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr char16_t beh = u'\u0628';  // joins on both sides
constexpr char16_t ain = u'\u0639';  // tells by its form what is joined to it
constexpr char16_t hamza = u'\u0621';
constexpr char16_t none = 0xFFFD;

constexpr std::size_t upperHalf = 128;
/// The glyphs from 128 on as Unicode names each form.
constexpr std::array<char16_t, 128> glyphs = [] {
  constexpr std::u16string_view low =
      u"0123456789\u060C\u0640\u061F\uFE81\uFE8B\u0621"
      u"\uFE8D\uFE8E\uFE8F\uFE91\uFB56\uFB58\uFE95\uFE97"
      u"\uFE99\uFE9B\uFE9D\uFE9F\uFB7A\uFB7C\uFEA1\uFEA3"
      u"\uFEA5\uFEA7\uFEA9\uFEAB\uFEAD\uFEAF\uFB8A\uFEB1"
      u"\uFEB3\uFEB5\uFEB7\uFEB9\uFEBB\uFEBD\uFEBF\uFEC1";
  constexpr std::u16string_view high =  // from 224 on
      u"\uFEC5\uFEC9\uFECA\uFECC\uFECB\uFECD\uFECE\uFED0"
      u"\uFECF\uFED1\uFED3\uFED5\uFED7\uFB8E\uFB90\uFB92"
      u"\uFB94\uFEDD\uFEFB\uFEDF\uFEE1\uFEE3\uFEE5\uFEE7"
      u"\uFEED\uFEE9\uFEEC\uFEEB\uFBFD\uFBFC\uFBFE";
  std::array<char16_t, 128> all{};
  all.fill(none);
  for (std::size_t i = 0; i < low.size(); ++i) all.at(i) = low[i];
  for (std::size_t i = 0; i < high.size(); ++i) all.at(224 - upperHalf + i) = high[i];
  return all;
}();

bool isAscii(char16_t character) { return character >= u' ' && character <= u'~'; }

char16_t drawn(std::uint8_t glyph) {
  if (glyph >= upperHalf) return glyphs.at(glyph - upperHalf);
  return isAscii(glyph) ? glyph : none;
}

/// A character that the font has in one form, under its own number in Unicode.
std::optional<std::uint8_t> sameGlyph(char16_t character) {
  if (isAscii(character) && (character < u'0' || character > u'9'))
    return static_cast<std::uint8_t>(character);
  const std::size_t at = std::u16string_view(glyphs.data(), glyphs.size()).find(character);
  if (character == none || at == std::u16string_view::npos) return {};
  return static_cast<std::uint8_t>(upperHalf + at);
}

/// The last glyph that the conversion makes of `text`.
std::uint8_t lastGlyph(std::u16string_view text) { return convertText(text).front(); }

}  // namespace

std::uint8_t convertedGlyph(char16_t character, Joins joins) {
  std::u16string text(1, character);
  if (joins.before) text.insert(text.begin(), beh);
  if (joins.after) text.push_back(beh);
  return convertText(text).at(joins.after ? 1 : 0);
}

bool isPersianLetter(char16_t character) {
  constexpr std::uint8_t lastDigitGlyph = 137;
  if (isAscii(character)) return false;
  const std::uint8_t glyph = convertedGlyph(character, {});
  return character == hamza || (glyph > lastDigitGlyph && glyph != toCodePage1256(character));
}

std::optional<std::uint8_t> glyphOf(char16_t character, Joins joins) {
  if (const auto glyph = sameGlyph(character)) return glyph;
  const std::uint8_t glyph = convertedGlyph(character, joins);
  if (glyph < upperHalf || glyph == toCodePage1256(character)) return {};
  return glyph;
}

std::uint8_t lamAlefGlyph() { return lastGlyph(u"\u0644\u0627"); }

bool isJoinedByConversion(char16_t character) {
  static const std::uint8_t finalAin = lastGlyph(std::u16string{beh, ain});
  return lastGlyph(std::u16string{character, ain}) == finalAin;
}

bool joinsToNext(char16_t character) {
  constexpr std::u16string_view inOneForm = u"\u0637\u0638\u0626\u0640";
  return inOneForm.find(character) != std::u16string_view::npos || isJoinedByConversion(character);
}

bool joinsToPrevious(char16_t character) {
  return character != hamza && isPersianLetter(character);
}

std::string drawnRow(std::span<const std::uint8_t> row) {
  while (!row.empty() && row.back() == ' ') row = row.first(row.size() - 1);
  std::u16string text;
  for (const std::uint8_t glyph : row) text += drawn(glyph);
  return toUtf8(text);
}

}  // namespace cronvel
