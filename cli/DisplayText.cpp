#include "cli/DisplayText.h"

#include <algorithm>
#include <iomanip>
#include <optional>
#include <sstream>

#include "cli/CommandFailure.h"
#include "cli/DisplayComposer.h"
#include "cli/DisplayFont.h"
#include "cli/DisplayRow.h"
#include "protocol/ConvertModule.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

/// As the control cuts it.
Bytes rowOf(std::u16string_view text, const DisplayField& field) {
  Bytes row = convertText(text);
  row.resize(std::min(row.size(), field.width));
  return row;
}

/// Accents and vowel signs, which stand over or under a letter.
bool isSign(char16_t character) {
  return (character >= 0x0300 && character <= 0x036F) ||
         (character >= 0x064B && character <= 0x065F) || character == 0x0670;
}

std::string listed(const std::u16string& characters) {
  std::ostringstream list;
  for (const char16_t character : characters) {
    if (character >= ' ' && !isSign(character) && (character < 0xD800 || character > 0xDFFF))
      list << toUtf8({&character, 1}) << ' ';
    list << "(U+" << std::hex << std::uppercase << std::setw(4) << std::setfill('0')
         << static_cast<unsigned>(character) << "), ";
  }
  std::string text = list.str();
  text.resize(text.size() - 2);
  return text;
}

/// The same without the signs, if that can be shown.
std::string withoutSigns(std::u16string_view typed) {
  std::u16string text(typed);
  std::erase_if(text, isSign);
  return text.empty() || !DisplayRow(text).lacking.empty() ? "" : toUtf8(text);
}

std::string whyLacking(std::u16string_view typed, const DisplayRow& row) {
  const std::string plain = withoutSigns(typed);
  return "the display has no " + listed(row.lacking) +
         (plain.empty() ? "" : "; without it, \"" + plain + "\" can be shown");
}

std::string whyTooLong(const DisplayRow& row, const DisplayField& field) {
  return "it takes " + std::to_string(row.cells.size()) + " places and " + field.name + " has " +
         std::to_string(field.width);
}

constexpr const char* unfitNumbers =
    "a 1 is drawn by a whole number only, each number brings those before it, and these do not go "
    "together: write one of them otherwise";

[[noreturn]] void refuse(std::string_view typed, const DisplayField& field,
                         const std::string& reason) {
  throw CommandFailure(ExitStatus::wrongUse,
                       '"' + std::string(typed) + "\" cannot be shown: " + reason +
                           "; as it is it would show " + quotedRow(textAsItIs(typed, field)) +
                           " from the left (--as-is takes it so)");
}

std::string remarkOn(const DisplayRow& wanted, const Bytes& row) {
  const auto isOther = [](const DisplayCell& cell, std::uint8_t glyph) {
    return cell.glyph != glyph;
  };
  int others = 0;
  for (std::size_t i = 0; i < row.size(); ++i) others += isOther(wanted.cells[i], row[i]) ? 1 : 0;
  if (others == 0) return "";
  return std::to_string(others) + (others == 1 ? " letter is" : " letters are") +
         " drawn joined otherwise than typed";
}

/// Whether these are the row's glyphs, or other forms of its letters.
bool draws(const Bytes& row, const DisplayRow& wanted) {
  return std::equal(row.begin(), row.end(), wanted.cells.begin(), wanted.cells.end(),
                    [](std::uint8_t glyph, const DisplayCell& cell) {
                      return glyph == cell.glyph || std::ranges::count(cell.otherForms, glyph) != 0;
                    });
}

}  // namespace

DisplayText composeText(std::string_view typed, const DisplayField& field) {
  const std::u16string characters = toUtf16(typed);
  const DisplayRow wanted(characters);
  if (!wanted.lacking.empty()) refuse(typed, field, whyLacking(characters, wanted));
  if (wanted.cells.size() > field.width) refuse(typed, field, whyTooLong(wanted, field));
  const auto text = composeRow(wanted.cells);
  if (!text || !draws(rowOf(*text, field), wanted)) refuse(typed, field, unfitNumbers);
  const Bytes row = rowOf(*text, field);
  return {*text, row, toUtf8(wanted.visible), remarkOn(wanted, row)};
}

DisplayText textAsItIs(std::string_view typed, const DisplayField& field) {
  const std::u16string text = toUtf16(typed);
  return {.text = text, .row = rowOf(text, field), .sentAsItIs = true};
}

DisplayText displayText(std::string_view typed, const DisplayField& field, bool asItIs) {
  return asItIs ? textAsItIs(typed, field) : composeText(typed, field);
}

std::string quotedRow(const DisplayText& text) {
  // NOLINTNEXTLINE(misc-misleading-bidirectional): the text that is returned ends it
  constexpr const char* fromLeftToRight = "\u202D";
  constexpr const char* endOfThat = "\u202C";
  return '"' + (fromLeftToRight + drawnRow(text.row)) + endOfThat + '"';
}

}  // namespace cronvel
