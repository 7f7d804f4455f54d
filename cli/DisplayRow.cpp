#include "cli/DisplayRow.h"

#include <algorithm>
#include <optional>

#include "cli/DisplayFont.h"
#include "cli/LineOrder.h"

namespace cronvel {

namespace {

constexpr char16_t nonJoiner = 0x200C;
constexpr char16_t joiner = 0x200D;
constexpr char16_t lam = u'\u0644';
constexpr char16_t alef = u'\u0627';

bool takesNoPlace(char16_t character) {
  constexpr char16_t arabicLetterMark = 0x061C;
  constexpr char16_t byteOrderMark = 0xFEFF;
  return (character >= nonJoiner && character <= 0x200F) ||
         (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069) || character == arabicLetterMark ||
         character == byteOrderMark;
}

/// With plain blanks, none at the end, and the digits that the font has.
std::u16string simplified(std::u16string_view typed) {
  constexpr char16_t noBreakSpace = 0x00A0;
  std::u16string text(typed);
  for (char16_t& character : text) {
    if (character == noBreakSpace) character = u' ';
    for (const char16_t zero : {u'\u0660', u'\u06F0'})
      if (character >= zero && character <= zero + 9)
        character = static_cast<char16_t>(u'0' + (character - zero));
  }
  text.resize(text.find_last_not_of(u' ') + 1);
  return text;
}

char16_t mirrored(char16_t character) {
  constexpr std::u16string_view pairs = u"()[]{}<>";
  const std::size_t at = pairs.find(character);
  return at == std::u16string_view::npos ? character : pairs[at ^ 1U];
}

/// The line that is drawn, in reading order.
class Line {
 public:
  explicit Line(std::u16string_view text) : mText(text) {}

  /// Nothing where no place is taken.
  std::optional<DisplayCell> cell(std::size_t at, bool fromTheRight) const;

 private:
  bool isLamAlef(std::size_t lamAt) const;
  Joins joins(std::size_t at) const;
  /// Of a character and one that follows, as far as nothing that takes no place parts or joins
  /// them.
  bool joined(std::size_t at, std::size_t next) const;
  std::size_t next(std::size_t at) const;
  std::size_t previous(std::size_t at) const;

  std::u16string_view mText;
};

/// What only tells the order neither parts nor joins.
bool isOnlyForOrder(char16_t character) {
  return takesNoPlace(character) && character != nonJoiner && character != joiner;
}

std::size_t Line::next(std::size_t at) const {
  do ++at;
  while (at < mText.size() && isOnlyForOrder(mText[at]));
  return at;
}

std::size_t Line::previous(std::size_t at) const {
  do --at;
  while (at < mText.size() && isOnlyForOrder(mText[at]));
  return at;
}

bool Line::joined(std::size_t at, std::size_t next) const {
  if (at >= mText.size() || next >= mText.size()) return false;
  const auto joins = [](char16_t character, auto test) {
    return character == joiner || test(character);
  };
  return joins(mText[at], joinsToNext) && joins(mText[next], joinsToPrevious);
}

Joins Line::joins(std::size_t at) const { return {joined(previous(at), at), joined(at, next(at))}; }

bool Line::isLamAlef(std::size_t lamAt) const {
  return mText.substr(lamAt, 2) == std::u16string{lam, alef};
}

std::optional<DisplayCell> Line::cell(std::size_t at, bool fromTheRight) const {
  const char16_t character = mText[at];
  if (takesNoPlace(character) || (at > 0 && isLamAlef(at - 1))) return {};
  if (isLamAlef(at)) return DisplayCell{lamAlefGlyph(), {}};
  const char16_t shown = fromTheRight ? mirrored(character) : character;
  DisplayCell cell{glyphOf(shown, joins(at)).value(), {}};
  if (!isPersianLetter(shown)) return cell;
  for (const Joins other : allJoins)
    if (const auto glyph = glyphOf(shown, other); glyph != cell.glyph)
      cell.otherForms.push_back(glyph.value());
  return cell;
}

/// Without a Persian letter a row is read from the left, whatever else is in it.
std::vector<DrawnCharacter> orderOf(std::u16string_view text) {
  if (std::any_of(text.begin(), text.end(), isPersianLetter)) return lineOrder(text);
  std::vector<DrawnCharacter> order;
  for (std::size_t i = 0; i < text.size(); ++i) order.push_back({i, false});
  return order;
}

}  // namespace

DisplayRow::DisplayRow(std::u16string_view typed) {
  const std::u16string text = simplified(typed);
  for (const char16_t character : text) {
    if (takesNoPlace(character)) continue;
    visible.push_back(character);
    if (!glyphOf(character, {}) && lacking.find(character) == std::u16string::npos)
      lacking.push_back(character);
  }
  if (!lacking.empty()) return;
  const Line line(text);
  for (const DrawnCharacter& place : orderOf(text))
    if (auto cell = line.cell(place.index, place.fromTheRight)) cells.push_back(std::move(*cell));
}

}  // namespace cronvel
