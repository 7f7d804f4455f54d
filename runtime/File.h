#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
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

}  // namespace cronvel
