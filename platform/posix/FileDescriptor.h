#pragma once

#include <unistd.h>

#include <utility>

namespace cronvel {

/// Owns a file descriptor; -1 is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : mFd(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      mFd = std::exchange(other.mFd, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return mFd; }
  explicit operator bool() const { return mFd >= 0; }
  void reset() {
    if (mFd >= 0) ::close(std::exchange(mFd, -1));
  }

 private:
  int mFd = -1;
};

}  // namespace cronvel
