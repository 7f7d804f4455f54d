#include "protocol/ConvertModule.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "runtime/CodePage1256.h"

namespace cronvel {
namespace {

constexpr std::uint8_t blank = ' ';
constexpr std::uint8_t alef = 199;
constexpr std::uint8_t lam = 225;

constexpr std::uint8_t zeroGlyph = 128;  // the other digits follow
constexpr std::uint8_t alefGlyph = 144;
constexpr std::uint8_t alefFinalGlyph = 145;
constexpr std::uint8_t lamAlefGlyph = 242;

/// A letter with one glyph whatever stands beside it. Nothing after it joins to it.
struct SingleForm {
  std::uint8_t character;
  std::uint8_t glyph;
};

constexpr std::array<SingleForm, 11> singleForms = {{
    {198, 142},  // yeh with hamza
    {220, 139},  // tatweel
    {194, 141},  // alef with madda
    {207, 162},  // dal
    {208, 163},  // thal
    {209, 164},  // reh
    {210, 165},  // zain
    {142, 166},  // jeh
    {216, 175},  // tah
    {217, 224},  // zah
    {230, 248},  // waw
}};

/// A letter whose glyph depends on its neighbours.
struct JoiningLetter {
  std::uint8_t character;
  std::uint8_t isolated;
  std::uint8_t final;    ///< the previous letter joins
  std::uint8_t medial;   ///< the previous letter joins and the word goes on
  std::uint8_t initial;  ///< the word goes on
};

/// Most letters look the same with and without a letter before them.
constexpr JoiningLetter twoForms(std::uint8_t character, std::uint8_t glyph) {
  const auto goingOn = static_cast<std::uint8_t>(glyph + 1);
  return {character, glyph, glyph, goingOn, goingOn};
}

// The glyphs of the 8-bit Persian display set of DOS days, which is the terminals' font.
constexpr std::array<JoiningLetter, 24> joiningLetters = {{
    twoForms(200, 146),         // beh
    twoForms(129, 148),         // peh
    twoForms(202, 150),         // teh
    twoForms(203, 152),         // theh
    twoForms(204, 154),         // jeem
    twoForms(141, 156),         // tcheh
    twoForms(205, 158),         // hah
    twoForms(206, 160),         // khah
    twoForms(211, 167),         // seen
    twoForms(212, 169),         // sheen
    twoForms(213, 171),         // sad
    twoForms(214, 173),         // dad
    {218, 225, 226, 227, 228},  // ain
    {219, 229, 230, 231, 232},  // ghain
    twoForms(221, 233),         // feh
    twoForms(222, 235),         // qaf
    twoForms(223, 237),         // kaf
    twoForms(144, 239),         // gaf
    {lam, 241, 241, 243, 243},  // 242, between them, is lam-alef
    twoForms(227, 244),         // meem
    twoForms(228, 246),         // noon
    {229, 249, 249, 250, 251},  // heh
    {236, 253, 252, 254, 254},  // alef maksura
    {237, 253, 252, 254, 254},  // yeh
}};

/// The entry of a table, or null.
template <typename Table>
const typename Table::value_type* findIn(const Table& table, std::uint8_t character) {
  const auto found = std::find_if(table.begin(), table.end(), [character](const auto& entry) {
    return entry.character == character;
  });
  return found == table.end() ? nullptr : &*found;
}

bool isDigit(std::uint8_t character) { return character >= '0' && character <= '9'; }

/// Today's keyboards type characters that the code page lacks or that the terminal has no glyph
/// for, where it has one for their older twin.
char16_t fold(char16_t character) {
  constexpr char16_t farsiYeh = 0x06CC;
  constexpr char16_t keheh = 0x06A9;
  constexpr char16_t zeroWidthNonJoiner = 0x200C;
  constexpr char16_t arabicIndicZero = 0x0660;
  constexpr char16_t persianZero = 0x06F0;

  if (character == farsiYeh) return u'\u064A';
  if (character == keheh) return u'\u0643';
  if (character == zeroWidthNonJoiner) return u' ';
  for (const char16_t zero : {arabicIndicZero, persianZero})
    if (character >= zero && character <= zero + 9)
      return static_cast<char16_t>(u'0' + (character - zero));
  return character;
}

/// One text on its way to the display.
class DisplayText {
 public:
  explicit DisplayText(Bytes characters) : mCharacters(std::move(characters)) {}

  Bytes convert();

 private:
  /// Of any character but a digit.
  std::uint8_t glyphAt(std::size_t i) const;
  bool isLamAlef(std::size_t i) const;
  bool joinsToPrevious(std::size_t i) const;
  bool goesOnAfter(std::size_t i) const;
  void placeGlyph(std::size_t i);
  void placeDigits();

  Bytes mCharacters;
  Bytes mDigits;  ///< the glyphs of every digit so far: never emptied, see the header
  Bytes mResult;
};

Bytes DisplayText::convert() {
  bool inDigits = false;
  for (std::size_t i = 0; i < mCharacters.size(); ++i) {
    if (isDigit(mCharacters[i])) {
      mDigits.push_back(static_cast<std::uint8_t>(mCharacters[i] - '0' + zeroGlyph));
      inDigits = true;
    } else if (inDigits) {
      placeDigits();  // instead of this character, which is lost
      inDigits = false;
    } else {
      placeGlyph(i);
    }
  }
  if (inDigits) placeDigits();
  return std::move(mResult);
}

void DisplayText::placeGlyph(std::size_t i) {
  constexpr std::ptrdiff_t keptByLamAlef = 2;
  if (isLamAlef(i) && std::ssize(mResult) > keptByLamAlef)
    mResult.erase(mResult.begin(), mResult.end() - keptByLamAlef);
  mResult.insert(mResult.begin(), glyphAt(i));
}

void DisplayText::placeDigits() { mResult.insert(mResult.begin(), mDigits.begin(), mDigits.end()); }

std::uint8_t DisplayText::glyphAt(std::size_t i) const {
  const std::uint8_t character = mCharacters[i];
  if (const SingleForm* const form = findIn(singleForms, character)) return form->glyph;
  if (isLamAlef(i)) return lamAlefGlyph;
  if (character == alef) return joinsToPrevious(i) ? alefFinalGlyph : alefGlyph;

  const JoiningLetter* const letter = findIn(joiningLetters, character);
  if (letter == nullptr) return character;
  if (joinsToPrevious(i)) return goesOnAfter(i) ? letter->medial : letter->final;
  return goesOnAfter(i) ? letter->initial : letter->isolated;
}

bool DisplayText::isLamAlef(std::size_t i) const {
  return i > 0 && mCharacters[i] == alef && mCharacters[i - 1] == lam;
}

bool DisplayText::joinsToPrevious(std::size_t i) const {
  return i > 0 && findIn(joiningLetters, mCharacters[i - 1]) != nullptr;
}

bool DisplayText::goesOnAfter(std::size_t i) const {
  return i + 1 < mCharacters.size() && mCharacters[i + 1] != blank;
}

}  // namespace

Bytes convertText(std::u16string_view text) {
  std::u16string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), fold);
  return DisplayText(toCodePage1256(folded)).convert();
}

}  // namespace cronvel
