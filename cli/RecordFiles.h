#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/FileLock.h"

namespace cronvel {

/// The raw record file and the files that are read from it, beside it.
class RecordFiles {
 public:
  explicit RecordFiles(std::filesystem::path rawFile);

  const std::filesystem::path& raw() const { return mFiles[0]; }
  const std::filesystem::path& text() const { return mFiles[1]; }
  const std::array<std::filesystem::path, 4>& all() const { return mFiles; }

  /// The files of the same name with `word` in it: a.Hex gives a.part.Hex.
  RecordFiles named(const std::string& word) const;
  /// Bytes in the raw file; 0 when it is missing.
  std::uintmax_t rawSize() const;
  /// "a.Hex (120 bytes), a.txt (...), ...", as far as they exist.
  std::string describe() const;

  /// Fails where the readable files may not be written: one that is there holds something else, or
  /// they are another raw file's.
  void requireOwn() const;
  /// Fails where the readable files are another raw file's.
  void requireOwner() const;

 private:
  std::array<std::filesystem::path, 4> mFiles;
};

/// The raw file for the name that was given to `download`: ".Hex" is added where there is no
/// extension; any other is refused, because the control looks for its file under ".Hex".
std::filesystem::path downloadName(const std::string& file);
/// The raw file for the name that was given to `check` or `show`: "a" also means "a.Hex".
std::filesystem::path existingName(const std::string& file);

/// Whether the name is one of a file that is read from a raw one.
bool isReadable(const std::filesystem::path& file);
/// 53 or 75 for what is no file that can be read twice: a folder, a pipe, a terminal.
void requireRegularFile(const std::filesystem::path& file);

/// Files that stand under a name that others are to get, moved aside (a.Hex to a.1.Hex). They are
/// put back at the end if by then nothing new stands there.
class EarlierFiles {
 public:
  explicit EarlierFiles(const RecordFiles& files);
  ~EarlierFiles();
  EarlierFiles(const EarlierFiles&) = delete;
  EarlierFiles& operator=(const EarlierFiles&) = delete;

  bool any() const { return !mMoved.empty(); }
  /// For a person: "a.1.Hex".
  std::string keptAs() const;
  /// Deletes them if the raw one is the beginning of the new raw file.
  void removeIfContained();

 private:
  struct Move {
    std::filesystem::path from;
    std::filesystem::path to;
  };

  void moveAside();
  void putBack();

  RecordFiles mFiles;
  std::vector<Move> mMoved;
};

/// Keeps the files of a name for the one who downloads into it. Fails as `busy` while somebody else
/// writes them.
class DownloadLock {
 public:
  explicit DownloadLock(const RecordFiles& files);
  ~DownloadLock();
  DownloadLock(const DownloadLock&) = delete;
  DownloadLock& operator=(const DownloadLock&) = delete;

 private:
  std::filesystem::path mPath;
  FileLock mLock;
};

/// The files of a download while it is made, under a name of their own ("a.part.Hex") beside those
/// that it is to get: whatever ends it, earlier files stay as they were.
class PartFiles {
 public:
  /// Finds out what cannot be written now rather than after the terminal has begun to stream.
  /// Fails as `busy` where another download is under way; raises 75 and 76.
  explicit PartFiles(const RecordFiles& whole);

  const RecordFiles& files() const { return mPart; }
  /// Gives them their name. Earlier files of that name are overwritten, or kept under another,
  /// which is returned; empty where there were none.
  std::string complete(bool overwrite);
  /// Where an earlier download that was cut short is kept, if it has something of its own; empty
  /// where there is none.
  std::string earlierPart();

 private:
  static RecordFiles probed(const RecordFiles& whole, const RecordFiles& part);

  DownloadLock mLock;
  RecordFiles mWhole;
  RecordFiles mPart;
  EarlierFiles mEarlier;
};

}  // namespace cronvel
