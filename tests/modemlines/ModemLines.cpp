// A pty has no modem lines. In a process that has this library before the system's, linked or
// preloaded, every pty has those of the file that CRONVEL_TEST_MODEM_LINES names: carrier detect,
// data terminal ready, and how often the latter has fallen, a byte each. Without that variable
// nothing is changed.
//
// A program built with the address sanitizer is to be linked with it, or needs
// ASAN_OPTIONS=verify_asan_link_order=0 to take it preloaded: its own runtime passes the calls on.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>

namespace {

class LinesFile {
 public:
  explicit LinesFile(const char* name) : mFd(open(name, O_RDWR | O_CLOEXEC)) {
    mGood = mFd >= 0 && pread(mFd, mBytes.data(), mBytes.size(), 0) == std::ssize(mBytes);
  }
  ~LinesFile() {
    if (mFd >= 0) close(mFd);
  }
  LinesFile(const LinesFile&) = delete;
  LinesFile& operator=(const LinesFile&) = delete;

  bool good() const { return mGood; }

  int lines() const {
    return (mBytes[carrier] != 0 ? TIOCM_CAR : 0) | (mBytes[dtr] != 0 ? TIOCM_DTR : 0);
  }

  void setDtr(bool on) {
    if (mBytes[dtr] != 0 && !on) ++mBytes[falls];
    mBytes[dtr] = on ? 1 : 0;
    // The carrier is the other side's to write.
    mGood = pwrite(mFd, &mBytes[dtr], 2, dtr) == 2;
  }

 private:
  enum { carrier, dtr, falls, count };
  int mFd;
  bool mGood = false;
  std::array<std::uint8_t, count> mBytes{};
};

bool isModemLinesRequest(unsigned long request) {
  return request == TIOCMGET || request == TIOCMSET || request == TIOCMBIS || request == TIOCMBIC;
}

bool isPty(int fd) {
  constexpr unsigned firstMajor = 136, lastMajor = 143;
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISCHR(status.st_mode)) return false;
  return major(status.st_rdev) >= firstMajor && major(status.st_rdev) <= lastMajor;
}

int answer(LinesFile& file, unsigned long request, int* lines) {
  const bool dtr = (*lines & TIOCM_DTR) != 0;
  if (request == TIOCMGET) *lines = file.lines();
  if (request == TIOCMSET) file.setDtr(dtr);
  if (request == TIOCMBIS && dtr) file.setDtr(true);
  if (request == TIOCMBIC && dtr) file.setDtr(false);
  if (file.good()) return 0;
  errno = EIO;
  return -1;
}

}  // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  const char* name =
      isModemLinesRequest(request) ? std::getenv("CRONVEL_TEST_MODEM_LINES") : nullptr;
  if (name != nullptr && isPty(fd)) {
    LinesFile file(name);
    if (file.good()) return answer(file, request, static_cast<int*>(argument));
  }
  return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
