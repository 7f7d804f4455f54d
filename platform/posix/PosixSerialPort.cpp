#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <set>
#include <thread>

#include "platform/posix/CallOut.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/PosixParts.h"
#include "platform/posix/SerialSettings.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t bufferLimit = 1 << 20;
/// How long a device may take no byte at all before it counts as stuck.
constexpr auto stuckAfter = 3s;
constexpr std::uint8_t endOfFileByte = 0x1A;

/// The driver of a pty's end: it has no hardware behind it, and its exclusive mode outlives a
/// killed program for as long as the other end is open.
bool isPty(int fd) {
  constexpr unsigned firstMajor = 136, lastMajor = 143;
  struct stat status {};
  if (fstat(fd, &status) != 0) return false;
  const unsigned number = major(status.st_rdev);
  return number >= firstMajor && number <= lastMajor;
}

class PosixSerialPort : public SerialPort {
 public:
  PosixSerialPort(Reactor& reactor, CommPortPath path)
      : mPathOf(std::move(path)), mWatch(reactor.watch([this](short) { service(); })) {}

  ~PosixSerialPort() override { close(); }

  void configure(const SerialPortSetup& setup) override;
  std::int16_t CommPort() const override { return mNumber; }
  void CommPort(std::int16_t number) override;
  std::string Settings() const override { return mSettingsText; }
  void Settings(std::string_view settings) override;
  bool PortOpen() const override { return static_cast<bool>(mFd); }
  void PortOpen(bool open) override;
  std::int32_t InBufferCount() override;
  void InBufferCount(std::int32_t count) override;
  std::int32_t OutBufferCount() override;
  void OutBufferCount(std::int32_t count) override;
  void Output(std::span<const std::uint8_t> bytes) override;
  Bytes Input() override;
  bool CDHolding() override;
  bool DTREnable() const override { return mSetup.DTREnable; }
  void DTREnable(bool enable) override;
  std::int16_t CommEvent() const override { return mCommEvent; }
  void onComm(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  std::string name() const { return "COM" + std::to_string(mNumber) + " (" + mPath + ")"; }
  [[noreturn]] void fail(ErrorNumber number, const std::string& what) const;
  [[noreturn]] void failOpening(int error) const;
  void requireOpen() const;
  void requireZero(std::int32_t count) const;
  void requireDevice() const;

  void open();
  void close();
  void lock();
  void apply(const SerialSettings& settings);
  void setModemLine(int line, bool on);
  void applySetup();
  void drain();

  void fill();
  void store(std::span<const std::uint8_t> bytes);
  void watchInput();
  void service();
  void raisePending();

  CommPortPath mPathOf;
  std::int16_t mNumber = 1;
  std::string mPath;  ///< of the device that was opened last
  SerialPortSetup mSetup;
  std::string mSettingsText = "9600,n,8,1";
  SerialSettings mSettings;
  FileDescriptor mFd;
  bool mGone = false;
  Bytes mReceived;
  std::set<std::int16_t> mPending;  ///< events to raise in the next pass
  std::int16_t mCommEvent = 0;
  std::function<void()> mHandler;
  steady_clock::time_point mWireFree;  ///< when the last byte written has left the wire
  CallOut mCallOut;
  Reactor::Watch mWatch;
};

void PosixSerialPort::fail(ErrorNumber number, const std::string& what) const {
  throw RunTimeError(number, name() + " " + what);
}

void PosixSerialPort::failOpening(int error) const {
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

void PosixSerialPort::requireOpen() const {
  if (!mFd)
    throw RunTimeError(ErrorNumber::portNotOpen, "COM" + std::to_string(mNumber) + " is closed");
}

void PosixSerialPort::requireZero(std::int32_t count) const {
  if (count != 0)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "a buffer count can only be set to 0, not to " + std::to_string(count));
}

void PosixSerialPort::requireDevice() const {
  if (mGone && mReceived.empty())
    fail(ErrorNumber::errorReadingCommDevice,
         "is gone; check the cable or adapter, then close the port and open it again");
}

void PosixSerialPort::CommPort(std::int16_t number) {
  if (mFd)
    throw RunTimeError(ErrorNumber::portIsOpen,
                       "close COM" + std::to_string(mNumber) + " before choosing another port");
  if (number < 1)
    throw RunTimeError(ErrorNumber::invalidPortNumber,
                       std::to_string(number) + "; ports are numbered from 1");
  mNumber = number;
}

void PosixSerialPort::Settings(std::string_view text) {
  const auto settings = SerialSettings::parse(text);
  if (mFd) {
    drain();
    apply(settings);
  }
  mSettings = settings;
  mSettingsText = text;
}

void PosixSerialPort::PortOpen(bool open) {
  if (!open) return close();
  if (mFd) fail(ErrorNumber::portAlreadyOpen, "is already open here; use it as it is");
  this->open();
}

void PosixSerialPort::open() {
  mPath = mPathOf(mNumber);
  mFd = FileDescriptor(::open(mPath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!mFd) failOpening(errno);
  try {
    if (isatty(mFd.get()) == 0) failOpening(errno);
    lock();
    apply(mSettings);
    applySetup();
  } catch (...) {
    mFd.reset();
    throw;
  }
  tcflush(mFd.get(), TCIFLUSH);
  mGone = false;
  mReceived.clear();
  mPending.clear();
  mWireFree = {};
  watchInput();
}

void PosixSerialPort::lock() {
  // Two locks: programs that run as root pass over the first, others do not know the second.
  if (flock(mFd.get(), LOCK_EX | LOCK_NB) != 0) failOpening(errno);
  if (!isPty(mFd.get())) ioctl(mFd.get(), TIOCEXCL);
}

void PosixSerialPort::close() {
  if (!mFd) return;
  try {
    if (!mGone) drain();
  } catch (const RunTimeError&) {
    tcflush(mFd.get(), TCOFLUSH);  // or the system waits for the stuck bytes once more
  }
  mWatch.detach();
  mWatch.cancelCall();
  mWatch.callEachPass(false);
  ioctl(mFd.get(), TIOCNXCL);
  mFd.reset();
  mReceived.clear();
}

void PosixSerialPort::apply(const SerialSettings& settings) {
  termios before{};
  if (tcgetattr(mFd.get(), &before) != 0)
    fail(ErrorNumber::couldNotSetCommState,
         std::string("cannot be set: ") + std::strerror(errno) + "; check the cable or adapter");
  termios line = before;
  makeRaw(line);
  settings.applyTo(line);
  line.c_cflag |= CLOCAL | CREAD;
  line.c_cflag &= ~tcflag_t{CRTSCTS};
  if ((mSetup.Handshaking & 1) != 0) line.c_iflag |= IXON | IXOFF;
  if ((mSetup.Handshaking & 2) != 0) line.c_cflag |= tcflag_t{CRTSCTS};
  std::string missing;
  // EINVAL can mean that nothing changed: a pty that has these settings already has no parity bit
  // to switch on. What the line took tells.
  if (tcsetattr(mFd.get(), TCSANOW, &line) != 0 && errno != EINVAL)
    missing = std::string("these settings (") + std::strerror(errno) + ")";
  else if (tcgetattr(mFd.get(), &line) == 0)
    missing = settings.missingIn(line);
  if (missing.empty()) return;
  tcsetattr(mFd.get(), TCSANOW, &before);
  fail(ErrorNumber::couldNotSetCommState,
       "did not take " + missing +
           "; many USB adapters cannot do mark and space parity or every speed, use another "
           "adapter");
}

void PosixSerialPort::setModemLine(int line, bool on) {
  ioctl(mFd.get(), on ? TIOCMBIS : TIOCMBIC, &line);  // a pty has no modem lines, nor some adapters
}

void PosixSerialPort::applySetup() {
  setModemLine(TIOCM_DTR, mSetup.DTREnable);
  if ((mSetup.Handshaking & 2) == 0) setModemLine(TIOCM_RTS, mSetup.RTSEnable);
  ioctl(mFd.get(), mSetup.Break ? TIOCSBRK : TIOCCBRK);
}

void PosixSerialPort::configure(const SerialPortSetup& setup) {
  mSetup = setup;
  if (!mFd) return;
  drain();
  apply(mSettings);
  applySetup();
}

void PosixSerialPort::DTREnable(bool enable) {
  mSetup.DTREnable = enable;
  if (mFd) setModemLine(TIOCM_DTR, enable);
}

bool PosixSerialPort::CDHolding() {
  int lines = 0;
  return mFd && ioctl(mFd.get(), TIOCMGET, &lines) == 0 && (lines & TIOCM_CAR) != 0;
}

/// Waits until the bytes written are on the wire. The system's own drain may end when a USB
/// adapter's chip has them, so the time they need on the wire is waited for as well.
void PosixSerialPort::drain() {
  auto lastProgress = steady_clock::now();
  std::int32_t left = OutBufferCount();
  while (left > 0) {
    std::this_thread::sleep_for(1ms);
    const std::int32_t now = OutBufferCount();
    if (now < left) lastProgress = steady_clock::now();
    if (steady_clock::now() - lastProgress > stuckAfter)
      fail(ErrorNumber::deviceIoError, "keeps its bytes; check the cable and the handshaking");
    left = now;
  }
  while (tcdrain(mFd.get()) != 0 && errno == EINTR) {
  }
  std::this_thread::sleep_until(mWireFree);
}

std::int32_t PosixSerialPort::OutBufferCount() {
  requireOpen();
  int count = 0;
  return ioctl(mFd.get(), TIOCOUTQ, &count) == 0 ? count : 0;
}

void PosixSerialPort::OutBufferCount(std::int32_t count) {
  requireOpen();
  requireZero(count);
  tcflush(mFd.get(), TCOFLUSH);
}

void PosixSerialPort::Output(std::span<const std::uint8_t> bytes) {
  requireOpen();
  const std::chrono::duration<double> onWire(static_cast<double>(bytes.size()) *
                                             mSettings.bitsPerByte() / mSettings.speed);
  while (!bytes.empty()) {
    const ssize_t written = ::write(mFd.get(), bytes.data(), bytes.size());
    if (written >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (!wouldBlock(errno))
      fail(ErrorNumber::deviceIoError,
           std::string("does not take bytes: ") + std::strerror(errno) + "; check the adapter");
    pollfd writable{mFd.get(), POLLOUT, 0};
    if (poll(&writable, 1, std::chrono::milliseconds(stuckAfter).count()) == 0)
      fail(ErrorNumber::deviceIoError, "takes no bytes; check the cable and the handshaking");
  }
  mWireFree = std::max(mWireFree, steady_clock::now()) +
              std::chrono::duration_cast<steady_clock::duration>(onWire);
  if (mSetup.SThreshold > 0) {
    mPending.insert(comEvSend);
    mWatch.callSoon();
  }
}

std::int32_t PosixSerialPort::InBufferCount() {
  requireOpen();
  fill();
  if (!mPending.empty()) mWatch.callSoon();
  requireDevice();
  return static_cast<std::int32_t>(mReceived.size());
}

void PosixSerialPort::InBufferCount(std::int32_t count) {
  requireOpen();
  requireZero(count);
  tcflush(mFd.get(), TCIFLUSH);
  mReceived.clear();
  fill();  // what was on its way through the driver
  mReceived.clear();
  mPending.erase(comEvReceive);
  watchInput();
}

Bytes PosixSerialPort::Input() {
  requireOpen();
  fill();
  requireDevice();
  auto end = mReceived.end();
  if (mSetup.InputLen > 0)
    end = mReceived.begin() + std::min<std::ptrdiff_t>(mSetup.InputLen, std::ssize(mReceived));
  Bytes taken(mReceived.begin(), end);
  mReceived.erase(mReceived.begin(), end);
  if (mReceived.empty()) mPending.erase(comEvReceive);
  watchInput();
  return taken;
}

/// Takes what the device has, without waiting.
void PosixSerialPort::fill() {
  std::array<std::uint8_t, 4096> block;
  while (!mGone && mReceived.size() < bufferLimit) {
    const ssize_t count = ::read(mFd.get(), block.data(), block.size());
    if (count > 0) {
      store(std::span(block).first(static_cast<std::size_t>(count)));
    } else if (count == 0 || !(errno == EINTR || wouldBlock(errno))) {
      mGone = true;
    } else if (errno != EINTR) {
      break;
    }
  }
  watchInput();
}

void PosixSerialPort::store(std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    if (byte == 0 && mSetup.NullDiscard) continue;
    if (byte == endOfFileByte && mSetup.EOFEnable) mPending.insert(comEvEOF);
    mReceived.push_back(byte);
  }
  if (mSetup.RThreshold > 0 && std::ssize(mReceived) >= mSetup.RThreshold)
    mPending.insert(comEvReceive);
}

void PosixSerialPort::watchInput() {
  if (mGone || mReceived.size() >= bufferLimit)
    mWatch.detach();  // a device that is gone would be reported ready for ever
  else
    mWatch.attach(mFd.get(), POLLIN);
}

void PosixSerialPort::service() {
  fill();
  // What comes while the handler runs is raised after it.
  mWatch.callEachPass(mCallOut.running() && !mPending.empty());
  if (!mCallOut.running()) raisePending();
}

void PosixSerialPort::raisePending() {
  if (!mHandler) return mPending.clear();
  const CallOut::Scope scope(mCallOut);
  const auto handler = mHandler;
  for (const std::int16_t event : std::exchange(mPending, {})) {
    mCommEvent = event;
    handler();
    if (scope.ownerGone() || !mFd) return;
  }
}

}  // namespace

std::unique_ptr<SerialPort> makePosixSerialPort(Reactor& reactor, CommPortPath path) {
  return std::make_unique<PosixSerialPort>(reactor, std::move(path));
}

}  // namespace cronvel
