// A pty has no modem lines. In a process that has this library before the system's, linked or
// preloaded, every port has those of the file that CRONVEL_TEST_MODEM_LINES names: carrier detect,
// data terminal ready, and how often the latter has fallen, a byte each. Without that variable
// nothing is changed.
//
// A program built with the address sanitizer is to be linked with it, or needs
// ASAN_OPTIONS=verify_asan_link_order=0 to take it preloaded: its own runtime passes the calls on.

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  const char* name = std::getenv("CRONVEL_TEST_MODEM_LINES");
  const bool modem = request == TIOCMGET || request == TIOCMBIS || request == TIOCMBIC;
  if (name == nullptr || !modem) return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
  int& lines = *static_cast<int*>(argument);
  std::uint8_t bytes[3]{};
  auto& [carrier, dtr, falls] = bytes;
  const int file = open(name, O_RDWR | O_CLOEXEC);
  bool done = pread(file, bytes, sizeof bytes, 0) == sizeof bytes;
  if (request == TIOCMGET) {
    lines = (carrier != 0 ? TIOCM_CAR : 0) | (dtr != 0 ? TIOCM_DTR : 0);
  } else if (done && (lines & TIOCM_DTR) != 0) {
    const std::uint8_t now = request == TIOCMBIS ? 1 : 0;
    if (now < dtr) ++falls;
    dtr = now;
    done = pwrite(file, &dtr, 2, 1) == 2;  // the carrier is the other side's to write
  }
  close(file);
  return done ? 0 : -1;
}
