#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

#include "runtime/File.h"
#include "runtime/WriteBehind.h"

namespace cronvel {

/// A text file being written, through a large buffer that the destructor also writes out. Full
/// buffers are written while the next one is filled, so that an error may be raised a few later.
class TextOutput {
 public:
  explicit TextOutput(const std::filesystem::path& path) : mFile(path, File::Access::output) {}
  ~TextOutput();
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  /// The texts one after another, then CR LF.
  template <typename... Texts>
  void printLine(const Texts&... texts) {
    (print(texts), ...);
    print("\r\n");
  }
  /// Free room to write into, at least so many characters, until the next call. `advance` says how
  /// many it has become.
  std::span<char> room(std::size_t length);
  void advance(std::size_t length) { mBuffer.used += length; }
  void close();

 private:
  void makeRoom(std::size_t length);
  void print(std::string_view text);
  void flush();

  File mFile;
  WriteBehind::Block mBuffer;
  WriteBehind mBehind{mFile};
};

}  // namespace cronvel
