#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "runtime/File.h"

namespace cronvel {

/// A text file being read field by field. Blanks before a field are passed over. A field runs to a
/// comma or the end of its line (CR LF, CR or LF); one that starts with a double quote runs to the
/// next double quote, over lines if need be, and its separator may follow after blanks. Blanks at
/// the end of an unquoted field are part of it, an empty line is an empty field. Fields come as the
/// file's own bytes; a UTF-8 byte order mark at the start is passed over.
class DelimitedInput {
 public:
  /// Opens the file. Raises the errors of `File`.
  explicit DelimitedInput(const std::filesystem::path& path);

  /// Whether the last field has been read. A separator at the end of the file begins no field.
  bool atEnd() { return peek() == endOfFile; }
  /// Reads a field. False, and an empty field, at the end of the file.
  bool next(std::string& field);

 private:
  static constexpr int endOfFile = -1;

  int peek();
  bool skip(char character);
  void skipByteOrderMark();
  void skipBlanks();
  void skipSeparator();
  void readQuoted(std::string& field);
  void readPlain(std::string& field);

  File mFile;
  std::array<std::uint8_t, 4096> mBlock{};
  std::size_t mSize = 0;      ///< bytes in the block
  std::size_t mPosition = 0;  ///< of the next one
};

}  // namespace cronvel
