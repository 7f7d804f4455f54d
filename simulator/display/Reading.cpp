#include "simulator/display/Reading.h"

#include <algorithm>
#include <string_view>

namespace cronvel::simulator {

namespace {

constexpr std::string_view openingBrackets = "([{<";
constexpr std::string_view closingBrackets = ")]}>";
constexpr std::string_view betweenDigits = ".,:/";  ///< belong to a number wherever it stands
constexpr std::string_view signs = "+-";            ///< only where no Persian word leads to it
constexpr std::string_view units = "#$%";           ///< as do these, beside it

bool isLatin(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

/// As it is meant by a reader who comes from the right.
std::string turned(const std::string& text) {
  constexpr std::string_view pairs = "()[]{}<>";
  const std::size_t at = text.size() == 1 ? pairs.find(text) : std::string_view::npos;
  return at == std::string_view::npos ? text : std::string(1, pairs[at ^ 1U]);
}

}  // namespace

Reading::Reading(const std::vector<std::string>& row) {
  for (const std::string& text : row) mRow.push_back({text, kindOf(text)});
}

Reading::Kind Reading::kindOf(const std::string& text) {
  if (text == "،" || text == "\uFFFD") return Kind::other;
  if (text.size() > 1) return Kind::persian;
  if (isLatin(text[0])) return Kind::latin;
  return text[0] >= '0' && text[0] <= '9' ? Kind::digit : Kind::other;
}

std::string Reading::text() const {
  const Part all{0, mRow.size()};
  const bool hasLetters = std::any_of(mRow.begin(), mRow.end(), [](const Glyph& glyph) {
    return glyph.kind == Kind::persian && glyph.text != "؟";
  });
  if (!hasLetters) return fromTheLeft(all);
  std::string text;
  for (std::size_t end = all.end; end > 0;) {
    const Part stretch = stretchBefore(end);
    text += readStretch(stretch);
    end = stretch.begin;
    if (end > 0) text += mRow[--end].text;
  }
  return text;
}

Reading::Part Reading::stretchBefore(std::size_t end) const {
  std::size_t begin = end;
  while (begin > 0 && !is(begin - 1, Kind::persian)) --begin;
  return {begin, end};
}

std::string Reading::readStretch(Part stretch) const {
  if (!has(stretch, Kind::latin)) return readNumbers(stretch);
  const Part latin = latinIn(stretch);
  if (const auto cut = strayBracketIn(latin))
    return readStretch({*cut + 1, stretch.end}) + readStretch({stretch.begin, *cut + 1});
  return fromTheRight({latin.end, stretch.end}) + fromTheLeft(latin) +
         fromTheRight({stretch.begin, latin.begin});
}

/// From the first to the last word or number, with the brackets that close what is opened in it.
Reading::Part Reading::latinIn(Part stretch) const {
  Part latin = stretch;
  const auto belongs = [this](std::size_t at) {
    return is(at, Kind::latin) || isInNumber(at, false);
  };
  while (!belongs(latin.begin)) ++latin.begin;
  while (!belongs(latin.end - 1)) --latin.end;
  while (latin.end < stretch.end && isOneOf(latin.end, closingBrackets) &&
         !strayBracketIn({latin.begin, latin.end + 1}))
    ++latin.end;
  return latin;
}

/// A bracket that closes what was opened before the part: who reads from the right has taken it
/// for an opening one, and what follows is apart from the words inside.
std::optional<std::size_t> Reading::strayBracketIn(Part part) const {
  std::string open;
  for (std::size_t at = part.begin; at < part.end; ++at) {
    if (isOneOf(at, openingBrackets)) open += mRow[at].text;
    if (!isOneOf(at, closingBrackets)) continue;
    if (open.empty() || turned(open.substr(open.size() - 1)) != mRow[at].text) return at;
    open.pop_back();
  }
  return {};
}

std::string Reading::readNumbers(Part stretch) const {
  const bool afterPersian = has({stretch.end, mRow.size()}, Kind::persian);
  std::string text;
  for (std::size_t end = stretch.end; end > stretch.begin;) {
    const Part number = numberBefore(end, stretch, afterPersian);
    text += fromTheLeft(number);
    end = number.begin;
    if (end > stretch.begin && number.begin == number.end) text += turned(mRow[--end].text);
  }
  return text;
}

/// Empty where none ends there.
Reading::Part Reading::numberBefore(std::size_t end, Part stretch, bool afterPersian) const {
  std::size_t begin = end;
  while (begin > stretch.begin && isInNumber(begin - 1, afterPersian)) --begin;
  return {begin, end};
}

bool Reading::isInNumber(std::size_t at, bool afterPersian) const {
  if (is(at, Kind::digit)) return true;
  const bool between = is(at - 1, Kind::digit) && is(at + 1, Kind::digit);
  if (isOneOf(at, betweenDigits)) return between;
  if (afterPersian) return false;
  if (isOneOf(at, signs)) return between;
  return isOneOf(at, units) && (is(at - 1, Kind::digit) || is(at + 1, Kind::digit));
}

bool Reading::has(Part part, Kind kind) const {
  for (std::size_t at = part.begin; at < part.end; ++at)
    if (is(at, kind)) return true;
  return false;
}

bool Reading::isOneOf(std::size_t at, std::string_view characters) const {
  return at < mRow.size() && mRow[at].text.size() == 1 &&
         characters.find(mRow[at].text) != std::string_view::npos;
}

std::string Reading::fromTheLeft(Part part) const {
  std::string text;
  for (std::size_t at = part.begin; at < part.end; ++at) text += mRow[at].text;
  return text;
}

std::string Reading::fromTheRight(Part part) const {
  std::string text;
  for (std::size_t at = part.end; at > part.begin; --at) text += turned(mRow[at - 1].text);
  return text;
}

}  // namespace cronvel::simulator
