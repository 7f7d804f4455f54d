#include <windows.h>
// Needs what <windows.h> declares.
#include <usp10.h>

#include <string>
#include <system_error>

#include "cli/LineOrder.h"

namespace cronvel {

namespace {

void require(HRESULT result) {
  if (FAILED(result))
    throw std::system_error(result, std::system_category(), "the order of a line");
}

bool isLatin(char16_t character) {
  return (character >= u'A' && character <= u'Z') || (character >= u'a' && character <= u'z');
}

/// The same line to the algorithm: behind Persian letters a sign is no part of a number. Uniscribe
/// keeps "8-10" together even there.
std::wstring withoutSigns(std::u16string_view line) {
  constexpr char16_t firstOfPersian = 0x061F;
  std::wstring text;
  bool afterPersian = false;
  for (const char16_t character : line) {
    if (character >= firstOfPersian || isLatin(character))
      afterPersian = character >= firstOfPersian;
    const bool sign = std::u16string_view(u"+-#$%").find(character) != std::u16string_view::npos;
    text += static_cast<wchar_t>(afterPersian && sign ? u'!' : character);
  }
  return text;
}

/// The runs of one direction in reading order; behind them one that only says where the line ends.
std::vector<SCRIPT_ITEM> runsOf(const std::wstring& line) {
  std::vector<SCRIPT_ITEM> runs(line.size() + 2);
  SCRIPT_CONTROL control{};
  SCRIPT_STATE state{};
  state.uBidiLevel = 1;
  int count = 0;
  require(ScriptItemize(line.data(), static_cast<int>(line.size()),
                        static_cast<int>(runs.size()) - 1, &control, &state, runs.data(), &count));
  runs.resize(static_cast<std::size_t>(count) + 1);
  return runs;
}

/// Which run stands at each place, from the left.
std::vector<int> placesOf(const std::vector<SCRIPT_ITEM>& runs) {
  std::vector<BYTE> levels;
  for (const SCRIPT_ITEM& run : runs) levels.push_back(run.a.s.uBidiLevel);
  levels.pop_back();
  std::vector<int> places(levels.size());
  require(ScriptLayout(static_cast<int>(levels.size()), levels.data(), places.data(), nullptr));
  return places;
}

}  // namespace

std::vector<DrawnCharacter> lineOrder(std::u16string_view line) {
  if (line.empty()) return {};
  const std::vector<SCRIPT_ITEM> runs = runsOf(withoutSigns(line));
  std::vector<DrawnCharacter> drawn;
  for (const int place : placesOf(runs)) {
    const auto run = runs.begin() + place;
    const auto begin = static_cast<std::size_t>(run->iCharPos);
    const auto end = static_cast<std::size_t>((run + 1)->iCharPos);
    const bool turned = run->a.s.uBidiLevel % 2 != 0;
    for (std::size_t i = begin; i < end; ++i)
      drawn.push_back({turned ? begin + end - 1 - i : i, turned});
  }
  return drawn;
}

}  // namespace cronvel
