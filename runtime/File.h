#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace cronvel {

/// A file name of the interface as a path of this machine.
std::filesystem::path toPath(std::u16string_view fileName);
/// For messages.
std::string pathText(const std::filesystem::path& path);

/// The same folder and base name with another extension (".Hex"). The base name ends at the last
/// point; a bare file name stays bare, which is the current folder. Raises 52 for an empty name.
std::u16string withExtension(std::u16string_view fileName, std::u16string_view extension);

/// Deletes a file if it is there. Raises 70 or 75.
void removeFile(const std::filesystem::path& path);

/// An open file, without a buffer of its own: what was written is the operating system's at once,
/// so that it survives the end of this program. Errors: 53, 57, 61, 67, 70, 75, 76.
class File {
 public:
  enum class Access {
    read,    ///< the file must exist
    update,  ///< made when missing, kept when there; written from its start
    output,  ///< made when missing, emptied when there
  };

  File(const std::filesystem::path& path, Access access);

  /// Fills `bytes` as far as the file goes; fewer at its end, then 0.
  std::size_t read(std::span<std::uint8_t> bytes);
  void write(std::span<const std::uint8_t> bytes);
  /// Reports what a delayed write had to say. The destructor closes in silence.
  void close();

 private:
  std::filesystem::path mPath;
  std::filebuf mBuffer;
};

/// A text file being written, through a large buffer that the destructor also writes out. A full
/// buffer is written while the next one is filled, so that an error may be raised one buffer later.
class TextOutput {
 public:
  explicit TextOutput(const std::filesystem::path& path);
  ~TextOutput();
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  /// The texts one after another, then CR LF. What has a length of its own type (a literal, a span
  /// of so many characters) is written quicker than a string.
  template <typename... Texts>
  void printLine(const Texts&... texts) {
    const std::size_t length = (lengthOf(texts) + ... + lengthOf(lineEnd));
    if (mBuffer.size - mUsed < length) makeRoom(length);
    char* out = mBuffer.bytes.get() + mUsed;
    ((out = put(out, texts)), ...);
    put(out, lineEnd);
    mUsed += length;
  }
  void close();

 private:
  struct Buffer {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
  };
  static constexpr char lineEnd[] = "\r\n";

  template <std::size_t size>
  static constexpr std::size_t lengthOf(const char (&/*literal*/)[size]) {
    return size - 1;
  }
  template <std::size_t size>
  static constexpr std::size_t lengthOf(const std::span<const char, size>& text) {
    return text.size();
  }
  static std::size_t lengthOf(const std::string& text) { return text.size(); }

  template <std::size_t size>
  static char* put(char* out, const char (&literal)[size]) {
    return std::copy_n(literal, size - 1, out);
  }
  template <std::size_t size>
  static char* put(char* out, const std::span<const char, size>& text) {
    return std::copy_n(text.data(), size, out);
  }
  /// For short ones, which a call would cost more than the copying.
  static char* put(char* out, const std::string& text) {
    constexpr std::size_t step = 8;
    std::size_t done = 0;
    for (; text.size() - done >= step; done += step) std::copy_n(&text[done], step, out + done);
    for (; done < text.size(); ++done) out[done] = text[done];
    return out + done;
  }

  void makeRoom(std::size_t length);
  void writeBehind();
  void awaitWriting();
  void flush();
  void write(const Buffer& buffer, std::size_t size);

  File mFile;
  Buffer mBuffer;
  std::size_t mUsed = 0;  ///< of mBuffer
  Buffer mBehind;         ///< what is being written
  std::future<void> mWriting;
};

}  // namespace cronvel
