#pragma once

#include <cstdint>
#include <filesystem>

namespace cronvel {

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
