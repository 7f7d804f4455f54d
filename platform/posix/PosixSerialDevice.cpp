#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstring>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/Termios.h"
#include "platform/system/SerialDevice.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// The driver of a pty's end: it has no hardware behind it, and its exclusive mode outlives a
/// killed program for as long as the other end is open.
bool isPty(int fd) {
  constexpr unsigned firstMajor = 136, lastMajor = 143;
  struct stat status {};
  if (fstat(fd, &status) != 0) return false;
  const unsigned number = major(status.st_rdev);
  return number >= firstMajor && number <= lastMajor;
}

/// A terminal device. `mFd` is open from start to end.
class PosixSerialDevice : public SerialDevice {
 public:
  PosixSerialDevice(const std::string& path, const std::string& name);
  ~PosixSerialDevice() override { ioctl(mFd.get(), TIOCNXCL); }

  void apply(const SerialSettings& settings, int handshaking) override;
  void setDtr(bool on) override { setModemLine(TIOCM_DTR, on); }
  void setRts(bool on) override { setModemLine(TIOCM_RTS, on); }
  void setBreak(bool on) override { ioctl(mFd.get(), on ? TIOCSBRK : TIOCCBRK); }
  bool carrier() override;

  void write(std::span<const std::uint8_t> bytes) override;
  std::int32_t unsentCount() override;
  void discardUnsent() override { tcflush(mFd.get(), TCOFLUSH); }
  void finishSending() override;

  std::optional<std::size_t> read(std::span<std::uint8_t> room) override;
  void discardReceived() override { tcflush(mFd.get(), TCIFLUSH); }
  Poller::Handle handle() const override { return mFd.get(); }
  short inputEvent() const override { return Poller::readable; }

 private:
  [[noreturn]] void failOpening(int error) const;
  void lock();
  void setModemLine(int line, bool on);

  FileDescriptor mFd;
};

void PosixSerialDevice::failOpening(int error) const {
  switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
    case EIO:
    case ENOTDIR:
      fail(ErrorNumber::invalidPortNumber,
           "does not exist; plug the adapter in, or choose another port number or device");
    case ENOTTY:
    case EISDIR:
      fail(ErrorNumber::invalidPortNumber,
           "is not a serial port; choose another port number or device");
    case EBUSY:
    case EWOULDBLOCK:
      fail(ErrorNumber::portAlreadyOpen, "is in use by another program; end that program first");
    case EACCES:
    case EPERM:
      fail(ErrorNumber::hardwareNotAvailable,
           "cannot be opened: no permission; add yourself to the group dialout and log in again");
    default:
      fail(ErrorNumber::hardwareNotAvailable,
           std::string("cannot be opened: ") + std::strerror(error) + "; check the device");
  }
}

PosixSerialDevice::PosixSerialDevice(const std::string& path, const std::string& name)
    : SerialDevice(name), mFd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
  if (!mFd || isatty(mFd.get()) == 0) failOpening(errno);
  lock();
}

void PosixSerialDevice::lock() {
  // Two locks: programs that run as root pass over the first, others do not know the second.
  if (flock(mFd.get(), LOCK_EX | LOCK_NB) != 0) failOpening(errno);
  if (!isPty(mFd.get())) ioctl(mFd.get(), TIOCEXCL);
}

void PosixSerialDevice::apply(const SerialSettings& settings, int handshaking) {
  termios before{};
  if (tcgetattr(mFd.get(), &before) != 0)
    fail(ErrorNumber::couldNotSetCommState,
         std::string("cannot be set: ") + std::strerror(errno) + "; check the cable or adapter");
  termios line = before;
  makeRaw(line);
  applyTo(line, settings);
  line.c_cflag |= CLOCAL | CREAD;
  line.c_cflag &= ~tcflag_t{CRTSCTS};
  if ((handshaking & softwareHandshake) != 0) line.c_iflag |= IXON | IXOFF;
  if ((handshaking & hardwareHandshake) != 0) line.c_cflag |= tcflag_t{CRTSCTS};
  std::string missing;
  // EINVAL can mean that nothing changed: a pty that has these settings already has no parity bit
  // to switch on. What the line took tells.
  if (tcsetattr(mFd.get(), TCSANOW, &line) != 0 && errno != EINVAL)
    missing = std::string("these settings (") + std::strerror(errno) + ")";
  else if (tcgetattr(mFd.get(), &line) == 0)
    missing = missingIn(line, settings);
  if (missing.empty()) return;
  tcsetattr(mFd.get(), TCSANOW, &before);
  failSettings(missing);
}

void PosixSerialDevice::setModemLine(int line, bool on) {
  ioctl(mFd.get(), on ? TIOCMBIS : TIOCMBIC, &line);  // a pty has no modem lines, nor some adapters
}

bool PosixSerialDevice::carrier() {
  int lines = 0;
  return ioctl(mFd.get(), TIOCMGET, &lines) == 0 && (lines & TIOCM_CAR) != 0;
}

void PosixSerialDevice::write(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(mFd.get(), bytes.data(), bytes.size());
    if (written >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK)
      fail(ErrorNumber::deviceIoError,
           std::string("does not take bytes: ") + std::strerror(errno) + "; check the adapter");
    pollfd writable{mFd.get(), POLLOUT, 0};
    if (poll(&writable, 1, std::chrono::milliseconds(stuckAfter).count()) == 0)
      fail(ErrorNumber::deviceIoError, "takes no bytes; check the cable and the handshaking");
  }
}

std::int32_t PosixSerialDevice::unsentCount() {
  int count = 0;
  return ioctl(mFd.get(), TIOCOUTQ, &count) == 0 ? count : 0;
}

void PosixSerialDevice::finishSending() {
  while (tcdrain(mFd.get()) != 0 && errno == EINTR) {
  }
}

std::optional<std::size_t> PosixSerialDevice::read(std::span<std::uint8_t> room) {
  for (;;) {
    const ssize_t count = ::read(mFd.get(), room.data(), room.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count == 0) return std::nullopt;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return 0;
    if (errno != EINTR) return std::nullopt;
  }
}

}  // namespace

std::unique_ptr<SerialDevice> openSerialDevice(const std::string& path, const std::string& name) {
  return std::make_unique<PosixSerialDevice>(path, name);
}

}  // namespace cronvel
