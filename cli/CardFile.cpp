#include "cli/CardFile.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "cli/CommandFailure.h"
#include "cli/RecordFiles.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t longestNumber = 4;
constexpr std::size_t repeatsTold = 3;
constexpr const char* form = "give one number to a line, or all in one line with commas between";

std::string contentOf(const std::string& fileName) {
  const auto path = toPath(toUtf16(fileName));
  requireRegularFile(path);
  const File readable(path, File::Access::read);  // says what is wrong with it
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool isUtf16(std::string_view text) {
  return text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ||
         text.find('\0') != std::string_view::npos;
}

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// As a message can show it.
std::string shown(const std::string& text) {
  constexpr std::size_t longest = 40;
  std::string clean = toUtf8(toUtf16(text).substr(0, longest));
  std::ranges::replace_if(
      clean, [](unsigned char c) { return c < ' '; }, '?');
  return clean;
}

std::string listOf(const std::vector<std::size_t>& lines) {
  std::string text;
  for (std::size_t i = 0; i < lines.size(); ++i)
    text += (i == 0 ? "" : i + 1 == lines.size() ? " and " : ", ") + std::to_string(lines[i]);
  return text;
}

}  // namespace

CardFile::CardFile(const std::string& fileName) : mName(fileName), mText(contentOf(fileName)) {
  if (isUtf16(mText)) refuse("is UTF-16 text, not plain or UTF-8; save it so");
  skipMark();
  readAll();
  if (mEntries.empty()) refuse("holds no card number");
  requireOneColumn();
  tellRepeated();
}

void CardFile::skipMark() {
  if (!mText.starts_with(byteOrderMark)) return;
  mNext = byteOrderMark.size();
  mRemarks.push_back(mName + " begins with a byte order mark, which is passed over");
}

void CardFile::readAll() {
  while (mNext < mText.size()) {
    while (at(' ')) advance();
    take(readField());
    endField();
  }
}

CardFile::Field CardFile::readField() {
  Field field{{}, mLine, mColumn};
  if (at('"'))
    readQuoted(field);
  else
    readPlain(field);
  return field;
}

void CardFile::readQuoted(Field& field) {
  for (advance(); !at('"'); advance()) {
    if (mNext == mText.size()) refuse(field.line, field.column, "a quote that nothing closes");
    field.text += mText[mNext];
  }
  advance();
  while (at(' ')) advance();
  if (!atSeparator()) refuse(mLine, mColumn, "a separator should stand here; " + std::string(form));
}

void CardFile::readPlain(Field& field) {
  for (; !atSeparator(); advance()) field.text += mText[mNext];
}

/// Over a comma or the end of a line: CR LF, CR or LF.
void CardFile::endField() {
  if (mNext == mText.size()) return;
  const bool lineEnds = !at(',');
  if (at('\r') && mText.substr(mNext, 2) == "\r\n") ++mNext;
  advance();
  if (!lineEnds) return;
  mColumn = 1;
  ++mLine;
}

void CardFile::take(const Field& field) {
  const std::string number = trimmed(field.text);
  if (number.empty()) return;
  if (!std::ranges::all_of(number, isDigit))
    refuse(field.line, field.column,
           "\"" + shown(number) + "\" is no card number, which has digits only; " + form);
  if (number.size() > longestNumber)
    refuse(field.line, field.column,
           "\"" + shown(number) + "\" has more than the 4 digits of a card number");
  mEntries.push_back({std::stoi(number), field.line, field.column});
  mLines[mEntries.back().card].push_back(field.line);
}

void CardFile::requireOneColumn() const {
  if (mEntries.front().line == mEntries.back().line) return;
  const auto second = std::ranges::adjacent_find(mEntries, {}, &Entry::line);
  if (second == mEntries.end()) return;
  const Entry& entry = *std::next(second);
  refuse(entry.line, entry.column, "a second column; " + std::string(form));
}

void CardFile::tellRepeated() {
  std::size_t repeated = 0;
  for (const auto& [card, lines] : mLines)
    if (lines.size() > 1 && ++repeated <= repeatsTold)
      mRemarks.push_back("card " + std::to_string(card) + " stands more than once in " + mName +
                         ": lines " + listOf(lines));
  if (repeated > repeatsTold)
    mRemarks.push_back("so do " + std::to_string(repeated - repeatsTold) + " other cards");
}

/// A character of several bytes is one column.
void CardFile::advance() {
  const auto continues = [this] {
    return mNext < mText.size() && (static_cast<unsigned char>(mText[mNext]) & 0xC0) == 0x80;
  };
  ++mNext;
  if (!continues()) ++mColumn;
}

void CardFile::refuse(const std::string& why) const {
  throw CommandFailure(ExitStatus::wrongUse, mName + " " + why);
}

void CardFile::refuse(std::size_t line, std::size_t column, const std::string& why) const {
  throw CommandFailure(ExitStatus::wrongUse, mName + ", line " + std::to_string(line) +
                                                 ", column " + std::to_string(column) + ": " + why);
}

}  // namespace cronvel
