#include <windows.h>

#include "platform/FileLock.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// One byte far behind any file's end: nobody's reading or writing is in its way.
OVERLAPPED lockedPlace() {
  OVERLAPPED place{};
  place.Offset = 0xFFFFFFFE;
  place.OffsetHigh = 0x7FFFFFFF;
  return place;
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& file) {
  const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return;
  OVERLAPPED place = lockedPlace();
  const DWORD how = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
  if (LockFileEx(opened, how, 0, 1, 0, &place) == 0 && GetLastError() == ERROR_LOCK_VIOLATION) {
    CloseHandle(opened);
    throw RunTimeError(ErrorNumber::permissionDenied, lockedText(file));
  }
  mFile = reinterpret_cast<std::intptr_t>(opened);
}

FileLock::~FileLock() {
  if (mFile != -1) CloseHandle(reinterpret_cast<HANDLE>(mFile));
}

}  // namespace cronvel
