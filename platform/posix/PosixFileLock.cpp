#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileLock.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// Whether the name still stands for the open file: who had it before may have deleted it.
bool namedStill(int file, const std::filesystem::path& name) {
  struct stat opened = {};
  struct stat named = {};
  return fstat(file, &opened) == 0 && stat(name.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& file) {
  const int opened = open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
  if (opened < 0) return;
  mFile = opened;
  const bool taken = flock(opened, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
  if (taken && namedStill(opened, file)) return;
  close(opened);
  throw RunTimeError(ErrorNumber::permissionDenied, lockedText(file));
}

FileLock::~FileLock() {
  if (mFile >= 0) close(static_cast<int>(mFile));
}

}  // namespace cronvel
