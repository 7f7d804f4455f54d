#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cronvel::simulator {

/// How a person reads a row of glyphs in which Persian letters stand among Latin ones and numbers.
/// The row is cut at its Persian letters into stretches without any.
class Reading {
 public:
  /// What each glyph says, from the left of the row.
  explicit Reading(const std::vector<std::string>& row);

  std::string text() const;

 private:
  enum class Kind { persian, latin, digit, other };
  struct Glyph {
    std::string text;
    Kind kind;
  };
  /// Part of the row: from `begin` up to before `end`.
  struct Part {
    std::size_t begin;
    std::size_t end;
  };

  static Kind kindOf(const std::string& text);
  bool is(std::size_t at, Kind kind) const { return at < mRow.size() && mRow[at].kind == kind; }
  bool isOneOf(std::size_t at, std::string_view characters) const;
  bool has(Part part, Kind kind) const;
  bool isInNumber(std::size_t at, bool afterPersian) const;
  Part stretchBefore(std::size_t end) const;
  Part latinIn(Part stretch) const;
  std::optional<std::size_t> strayBracketIn(Part part) const;
  Part numberBefore(std::size_t end, Part stretch, bool afterPersian) const;
  std::string fromTheLeft(Part part) const;
  std::string fromTheRight(Part part) const;
  std::string readStretch(Part stretch) const;
  std::string readNumbers(Part stretch) const;

  std::vector<Glyph> mRow;
};

}  // namespace cronvel::simulator
