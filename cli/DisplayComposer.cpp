#include "cli/DisplayComposer.h"

#include <array>
#include <compare>
#include <map>
#include <utility>

#include "cli/DisplayFont.h"
#include "runtime/CodePage1256.h"

namespace cronvel {

namespace {

constexpr char16_t beh = u'\u0628';  // joins on both sides
constexpr char16_t lam = u'\u0644';
constexpr char16_t alef = u'\u0627';
constexpr std::uint8_t zeroGlyph = 128;
constexpr std::uint8_t nineGlyph = 137;

bool isDigit(char16_t character) { return character >= u'0' && character <= u'9'; }

/// A character that draws a glyph between such neighbours.
struct Stroke {
  char16_t character;
  Joins between;
};

/// For each glyph all that draw it, but for digits.
using Strokes = std::array<std::vector<Stroke>, 256>;

const Strokes& strokes() {
  static const Strokes all = [] {
    Strokes found;
    for (int code = ' '; code < 256; ++code) {
      const char16_t character = fromCodePage1256(static_cast<std::uint8_t>(code));
      if (isDigit(character)) continue;
      for (const Joins between : allJoins)
        found.at(convertedGlyph(character, between)).push_back({character, between});
    }
    return found;
  }();
  return all;
}

/// A text so far, as far as it matters for what follows.
struct State {
  char16_t last = 0;
  bool goesOn = false;    ///< what follows, as it was assumed
  std::u16string digits;  ///< of all numbers so far
  auto operator<=>(const State&) const = default;
};

struct Text {
  std::u16string characters;
  int otherForms = 0;
};

/// Finds the text from the right end of the row to the left, with the best of all that lead to the
/// same state.
class Search {
 public:
  explicit Search(const std::vector<DisplayCell>& cells)
      : mCells(cells.rbegin(), cells.rend()), mReached(cells.size() + 1) {}

  std::optional<std::u16string> run();

 private:
  void reach(std::size_t place, State state, Text text);
  void draw(std::size_t place, const State& state, const Text& text);
  void draw(std::size_t place, const State& state, const Text& text, std::uint8_t glyph);
  void drawNumbers(std::size_t place, const State& state, const Text& text);
  void goOnAfterNumber(std::size_t place, const std::u16string& digits, const Text& text);
  std::size_t digitsFrom(std::size_t place) const;
  std::u16string number(std::size_t place, std::size_t length) const;

  std::vector<DisplayCell> mCells;  ///< from the right
  std::vector<std::map<State, Text>> mReached;
};

std::optional<std::u16string> Search::run() {
  for (const bool goesOn : {false, true}) reach(0, {0, goesOn, {}}, {});
  for (std::size_t place = 0; place < mCells.size(); ++place)
    for (const auto& [state, text] : mReached[place]) {
      draw(place, state, text);
      drawNumbers(place, state, text);
    }
  const Text* best = nullptr;
  for (const auto& [state, text] : mReached.back())
    if (!state.goesOn && (best == nullptr || text.otherForms < best->otherForms)) best = &text;
  if (best == nullptr) return {};
  return best->characters;
}

void Search::reach(std::size_t place, State state, Text text) {
  const auto [known, isNew] = mReached[place].try_emplace(std::move(state), text);
  if (!isNew && text.otherForms < known->second.otherForms) known->second = std::move(text);
}

void Search::draw(std::size_t place, const State& state, const Text& text) {
  draw(place, state, text, mCells[place].glyph);
  const Text otherwise{text.characters, text.otherForms + 1};
  for (const std::uint8_t glyph : mCells[place].otherForms) draw(place, state, otherwise, glyph);
}

void Search::draw(std::size_t place, const State& state, const Text& text, std::uint8_t glyph) {
  const bool joined = state.last != 0 && isJoinedByConversion(state.last);
  for (const auto& [character, between] : strokes().at(glyph)) {
    const bool fits = between.before == joined && state.goesOn == (glyph != ' ');
    const bool lamAlef = state.last == lam && character == alef;
    if (fits && !lamAlef)
      reach(place + 1, {character, between.after, state.digits},
            {text.characters + character, text.otherForms});
  }
}

void Search::drawNumbers(std::size_t place, const State& state, const Text& text) {
  if (!state.goesOn) return;
  const std::size_t longest = digitsFrom(place);
  for (std::size_t length = state.digits.size() + 1; length <= longest; ++length) {
    const std::u16string digits = number(place, length);
    if (!digits.starts_with(state.digits)) continue;
    goOnAfterNumber(place + length, digits,
                    {text.characters + digits.substr(state.digits.size()), text.otherForms});
  }
}

/// Behind a number stands a character that is not drawn, which is free to help the next one.
void Search::goOnAfterNumber(std::size_t place, const std::u16string& digits, const Text& text) {
  if (place == mCells.size()) return reach(place, {u'0', false, digits}, text);
  for (const char16_t swallowed : {u' ', beh})
    for (const bool goesOn : {false, true})
      reach(place, {swallowed, goesOn, digits}, {text.characters + swallowed, text.otherForms});
}

std::size_t Search::digitsFrom(std::size_t place) const {
  std::size_t end = place;
  while (end < mCells.size() && mCells[end].glyph >= zeroGlyph && mCells[end].glyph <= nineGlyph)
    ++end;
  return end - place;
}

std::u16string Search::number(std::size_t place, std::size_t length) const {
  std::u16string digits;
  for (std::size_t i = place + length; i > place; --i)
    digits += static_cast<char16_t>(u'0' + (mCells[i - 1].glyph - zeroGlyph));
  return digits;
}

}  // namespace

std::optional<std::u16string> composeRow(const std::vector<DisplayCell>& cells) {
  return Search(cells).run();
}

}  // namespace cronvel
