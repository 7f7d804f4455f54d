#include "runtime/DelimitedInput.h"

#include <algorithm>

namespace cronvel {

DelimitedInput::DelimitedInput(const std::filesystem::path& path)
    : mFile(path, File::Access::read) {
  skipByteOrderMark();
}

bool DelimitedInput::next(std::string& field) {
  field.clear();
  if (atEnd()) return false;
  skipBlanks();
  if (skip('"')) {
    readQuoted(field);
    skipBlanks();
  } else {
    readPlain(field);
  }
  skipSeparator();
  return true;
}

int DelimitedInput::peek() {
  if (mPosition == mSize) {
    mSize = mFile.read(mBlock);
    mPosition = 0;
  }
  return mPosition == mSize ? endOfFile : mBlock[mPosition];
}

bool DelimitedInput::skip(char character) {
  if (peek() != character) return false;
  ++mPosition;
  return true;
}

void DelimitedInput::skipByteOrderMark() {
  constexpr std::array<std::uint8_t, 3> mark = {0xEF, 0xBB, 0xBF};
  peek();
  if (mSize >= mark.size() && std::equal(mark.begin(), mark.end(), mBlock.begin()))
    mPosition = mark.size();
}

void DelimitedInput::skipBlanks() {
  while (skip(' ')) {
  }
}

void DelimitedInput::skipSeparator() {
  if (skip(',')) return;
  if (skip('\r')) {
    skip('\n');
    return;
  }
  skip('\n');
}

void DelimitedInput::readQuoted(std::string& field) {
  for (int c = peek(); c != endOfFile; c = peek()) {
    ++mPosition;
    if (c == '"') return;
    field.push_back(static_cast<char>(c));
  }
}

void DelimitedInput::readPlain(std::string& field) {
  for (int c = peek(); c != endOfFile && c != ',' && c != '\r' && c != '\n'; c = peek()) {
    ++mPosition;
    field.push_back(static_cast<char>(c));
  }
}

}  // namespace cronvel
