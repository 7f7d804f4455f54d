#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "runtime/File.h"

namespace cronvel {

/// Writes blocks to a file in their order, on a thread of its own, so that the next ones can be
/// filled meanwhile. A few wait: neither side stands still each time the other one is held up.
class WriteBehind {
 public:
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    std::size_t used = 0;
  };

  /// The file outlives it.
  explicit WriteBehind(File& file) : mFile(file) {}
  ~WriteBehind();
  WriteBehind(const WriteBehind&) = delete;
  WriteBehind& operator=(const WriteBehind&) = delete;

  /// Takes a block and gives another one, without bytes at first. Raises the error of an earlier
  /// block, after which nothing more is written.
  Block exchange(Block full);
  /// Returns when all is written; raises likewise.
  void finish();

 private:
  bool canStart();
  void run();
  void write(Block& block);
  std::exception_ptr failureOf(Block& block);

  File& mFile;
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<Block> mFull;  ///< the first one is being written
  std::vector<Block> mEmpty;
  std::exception_ptr mError;
  bool mEnding = false;
  std::thread mThread;
};

}  // namespace cronvel
