#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace cronvel {

/// The raw record file and the files that the check writes beside it.
class RecordFiles {
 public:
  explicit RecordFiles(std::filesystem::path rawFile);

  const std::filesystem::path& raw() const { return mFiles[0]; }
  const std::filesystem::path& text() const { return mFiles[1]; }
  const std::array<std::filesystem::path, 4>& all() const { return mFiles; }

  /// Bytes in the raw file; 0 when it is missing.
  std::uintmax_t rawSize() const;
  /// "a.Hex (120 bytes), a.txt (...), ...", as far as they exist.
  std::string describe() const;

 private:
  std::array<std::filesystem::path, 4> mFiles;
};

/// The raw file for the name that was given to `download`: ".Hex" is added where there is no
/// extension; any other is refused, because the control looks for its file under ".Hex".
std::filesystem::path downloadName(const std::string& file);
/// The raw file for the name that was given to `check` or `show`: "a" also means "a.Hex".
std::filesystem::path existingName(const std::string& file);

/// The files of an earlier download, moved aside (a.Hex to a.1.Hex) so that a new one under the
/// same name cannot destroy them. Moves them back at the end if nothing new has come.
class EarlierFiles {
 public:
  explicit EarlierFiles(const RecordFiles& files);
  ~EarlierFiles();
  EarlierFiles(const EarlierFiles&) = delete;
  EarlierFiles& operator=(const EarlierFiles&) = delete;

  bool any() const { return !mMoved.empty(); }
  /// For a person: "a.1.Hex".
  std::string keptAs() const;
  void remove();

 private:
  struct Move {
    std::filesystem::path from;
    std::filesystem::path to;
  };

  void moveAside();
  void putBack();

  const RecordFiles& mFiles;
  std::vector<Move> mMoved;
};

}  // namespace cronvel
