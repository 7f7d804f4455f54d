#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "runtime/File.h"

namespace cronvel {

/// What there is to say of a file that somebody else has locked.
inline std::string lockedText(const std::filesystem::path& file) {
  return pathText(file) +
         " is being written by another download; wait for its end, or choose another name";
}

/// Keeps a file for the one who writes it: while one of these lives, nobody else gets another for
/// the same file, in this program or in another one of this machine.
class FileLock {
 public:
  /// Makes the file when it is missing. Raises 70 while somebody else has it. Where the file cannot
  /// be used at all it holds nothing: opening the file says why.
  explicit FileLock(const std::filesystem::path& file);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  std::intptr_t mFile = -1;  ///< the system's handle of it
};

}  // namespace cronvel
