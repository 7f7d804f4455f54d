#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cronvel {

/// A list of card numbers in a text file, read before anything of it is sent: one number to a line,
/// or all in one line with commas between them. The control would pass over whatever it cannot
/// read, or take a number for another; here it is refused with its line and column.
class CardFile {
 public:
  /// Fails with `wrongUse` for what is no such list. Raises the errors of `File`, 75 for a pipe.
  explicit CardFile(const std::string& fileName);

  /// How many numbers there are.
  std::size_t numbers() const { return mEntries.size(); }
  /// How many different ones: the cards that a terminal has of it.
  std::size_t cards() const { return mLines.size(); }
  /// What a person should know about a list that was read.
  const std::vector<std::string>& remarks() const { return mRemarks; }

 private:
  struct Entry {
    int card;
    std::size_t line;
    std::size_t column;
  };
  /// A field of the text and where it begins, from 1.
  struct Field {
    std::string text;
    std::size_t line = 1;
    std::size_t column = 1;
  };

  void skipMark();
  void readAll();
  Field readField();
  void readQuoted(Field& field);
  void readPlain(Field& field);
  void endField();
  void take(const Field& field);
  void requireOneColumn() const;
  void tellRepeated();
  bool at(char character) const { return mNext < mText.size() && mText[mNext] == character; }
  bool atSeparator() const { return mNext == mText.size() || at(',') || at('\r') || at('\n'); }
  void advance();
  [[noreturn]] void refuse(const std::string& why) const;
  [[noreturn]] void refuse(std::size_t line, std::size_t column, const std::string& why) const;

  std::string mName;
  std::string mText;
  std::size_t mNext = 0;
  std::size_t mLine = 1;    ///< of the next character
  std::size_t mColumn = 1;  ///< in characters
  std::vector<Entry> mEntries;
  std::map<int, std::vector<std::size_t>> mLines;  ///< in which each card stands
  std::vector<std::string> mRemarks;
};

}  // namespace cronvel
