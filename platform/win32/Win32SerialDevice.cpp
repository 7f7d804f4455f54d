#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>

#include "platform/system/SerialDevice.h"
#include "platform/win32/LineState.h"
#include "platform/win32/Module.h"
#include "platform/win32/Operation.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;

/// Given to the driver in one piece, so that its progress shows.
constexpr std::size_t blockSize = 256;
/// The driver holds this much before `write` waits.
constexpr std::int32_t unsentLimit = 4096;

constexpr DWORD inputQueue = 1 << 14, outputQueue = 1 << 12;  // bytes

/// A communication device. One byte is always being read, without a time limit: its end tells that
/// something came, and the rest is then read in one go.
class Win32SerialDevice : public SerialDevice {
 public:
  Win32SerialDevice(const std::string& path, const std::string& name);

  void apply(const SerialSettings& settings, int handshaking) override;
  void setDtr(bool on) override;
  void setRts(bool on) override;
  void setBreak(bool on) override { EscapeCommFunction(mDevice.get(), on ? SETBREAK : CLRBREAK); }
  bool carrier() override;

  void write(std::span<const std::uint8_t> bytes) override;
  std::int32_t unsentCount() override;
  void discardUnsent() override;
  void finishSending() override { FlushFileBuffers(mDevice.get()); }

  std::optional<std::size_t> read(std::span<std::uint8_t> room) override;
  void discardReceived() override;
  Poller::Handle handle() const override {
    return reinterpret_cast<Poller::Handle>(mFirstByte.event());
  }
  short inputEvent() const override { return Poller::signalled; }

 private:
  HANDLE open(const std::string& path) const;
  [[noreturn]] void failOpening(DWORD error) const;
  DCB wanted(const SerialSettings& settings, int handshaking) const;
  bool set(DCB line) const;
  void forgetWritten();

  struct Applied {
    SerialSettings settings;
    int handshaking;
    bool operator==(const Applied&) const = default;
  };

  OwnedHandle mDevice;
  bool mDtr = false;
  bool mRts = false;
  std::optional<Applied> mApplied;
  Operation mFirstByte{mDevice.get()};
  std::deque<std::unique_ptr<Operation>> mWriting;
};

void Win32SerialDevice::failOpening(DWORD error) const {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_NOT_READY:
      fail(ErrorNumber::invalidPortNumber,
           "does not exist; plug the adapter in, or choose another port number or device");
    case ERROR_INVALID_FUNCTION:
    case ERROR_INVALID_HANDLE:
    case ERROR_NOT_SUPPORTED:
      fail(ErrorNumber::invalidPortNumber,
           "is not a serial port; choose another port number or device");
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_BUSY:
      fail(ErrorNumber::portAlreadyOpen, "is in use by another program; end that program first");
    default:
      fail(ErrorNumber::hardwareNotAvailable,
           "cannot be opened: " + systemErrorText(error) + "; check the device");
  }
}

HANDLE Win32SerialDevice::open(const std::string& path) const {
  const std::wstring name = wide(path);
  const HANDLE device = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
  if (device == INVALID_HANDLE_VALUE) failOpening(GetLastError());
  return device;
}

Win32SerialDevice::Win32SerialDevice(const std::string& path, const std::string& name)
    : SerialDevice(name), mDevice(open(path)) {
  // A host may be busy for seconds while a terminal streams; a driver may give less, or no choice.
  SetupComm(mDevice.get(), inputQueue, outputQueue);
  COMMTIMEOUTS none{};  // reading and writing end when all bytes are through
  if (SetCommTimeouts(mDevice.get(), &none) == 0) failOpening(GetLastError());
}

DCB Win32SerialDevice::wanted(const SerialSettings& settings, int handshaking) const {
  DCB line = lineStateOf(settings);
  // The settings carry the two lines as well: what was chosen for them must not fall with each
  // change of parity, because modems hang up and adapters live from them.
  line.fDtrControl = mDtr ? DTR_CONTROL_ENABLE : DTR_CONTROL_DISABLE;
  line.fRtsControl = mRts ? RTS_CONTROL_ENABLE : RTS_CONTROL_DISABLE;
  if ((handshaking & softwareHandshake) != 0) line.fInX = line.fOutX = TRUE;
  if ((handshaking & hardwareHandshake) != 0) {
    line.fOutxCtsFlow = TRUE;
    line.fRtsControl = RTS_CONTROL_HANDSHAKE;
  }
  return line;
}

void Win32SerialDevice::apply(const SerialSettings& settings, int handshaking) {
  if (mApplied == Applied{settings, handshaking}) return;
  mApplied.reset();
  DCB before{};
  before.DCBlength = sizeof before;
  if (GetCommState(mDevice.get(), &before) == 0)
    fail(ErrorNumber::couldNotSetCommState,
         "cannot be set: " + systemErrorText(GetLastError()) + "; check the cable or adapter");
  std::string lacks;
  if (!set(wanted(settings, handshaking)))
    lacks = "these settings (" + systemErrorText(GetLastError()) + ")";
  else
    lacks = missingIn(mDevice.get(), settings);
  if (!lacks.empty()) {
    SetCommState(mDevice.get(), &before);
    failSettings(lacks);
  }
  mApplied = Applied{settings, handshaking};
}

void Win32SerialDevice::setDtr(bool on) {
  mDtr = on;
  EscapeCommFunction(mDevice.get(), on ? SETDTR : CLRDTR);
}

void Win32SerialDevice::setRts(bool on) {
  mRts = on;
  EscapeCommFunction(mDevice.get(), on ? SETRTS : CLRRTS);
}

/// A line without hardware can refuse a parity that it has already; coming from none it takes it.
bool Win32SerialDevice::set(DCB line) const {
  if (SetCommState(mDevice.get(), &line) != 0) return true;
  DCB plain = line;
  plain.Parity = NOPARITY;
  return SetCommState(mDevice.get(), &plain) != 0 && SetCommState(mDevice.get(), &line) != 0;
}

bool Win32SerialDevice::carrier() {
  DWORD lines = 0;
  return GetCommModemStatus(mDevice.get(), &lines) != 0 && (lines & MS_RLSD_ON) != 0;
}

/// Takes the writing that is over off the list.
void Win32SerialDevice::forgetWritten() {
  while (!mWriting.empty()) {
    const auto state = mWriting.front()->state();
    if (state == Operation::State::running) return;
    const DWORD error = mWriting.front()->error();
    mWriting.pop_front();
    if (state == Operation::State::done) continue;
    mWriting.clear();
    fail(ErrorNumber::deviceIoError,
         "does not take bytes: " + systemErrorText(error) + "; check the adapter");
  }
}

void Win32SerialDevice::write(std::span<const std::uint8_t> bytes) {
  auto lastProgress = steady_clock::now();
  std::int32_t left = unsentCount();
  while (!bytes.empty()) {
    if (left >= unsentLimit) {
      Sleep(1);
      const std::int32_t now = unsentCount();
      if (now < left) lastProgress = steady_clock::now();
      if (steady_clock::now() - lastProgress > stuckAfter)
        fail(ErrorNumber::deviceIoError, "takes no bytes; check the cable and the handshaking");
      left = now;
      continue;
    }
    const auto block = bytes.first(std::min(bytes.size(), blockSize));
    mWriting.push_back(std::make_unique<Operation>(mDevice.get()));
    mWriting.back()->write(block);
    bytes = bytes.subspan(block.size());
    left = unsentCount();
  }
}

std::int32_t Win32SerialDevice::unsentCount() {
  forgetWritten();
  std::size_t given = 0;
  for (const auto& each : mWriting) given += each->bytes().size();
  COMSTAT state{};
  DWORD errors = 0;
  if (ClearCommError(mDevice.get(), &errors, &state) == 0) return static_cast<std::int32_t>(given);
  // The driver counts the block that it is in by what is left of it, and keeps none once it is out.
  return static_cast<std::int32_t>(given == 0 ? state.cbOutQue
                                              : std::clamp<std::size_t>(state.cbOutQue, 1, given));
}

void Win32SerialDevice::discardUnsent() {
  PurgeComm(mDevice.get(), PURGE_TXABORT | PURGE_TXCLEAR);
  mWriting.clear();
}

std::optional<std::size_t> Win32SerialDevice::read(std::span<std::uint8_t> room) {
  if (mFirstByte.state() == Operation::State::failed) return std::nullopt;
  if (mFirstByte.state() == Operation::State::running) return 0;
  std::size_t count = 0;
  const auto take = [&](const Bytes& bytes) {
    std::ranges::copy(bytes, room.begin() + static_cast<std::ptrdiff_t>(count));
    count += bytes.size();
  };
  take(mFirstByte.bytes());
  COMSTAT state{};
  DWORD errors = 0;
  if (ClearCommError(mDevice.get(), &errors, &state) != 0 && state.cbInQue > 0) {
    Operation rest(mDevice.get());
    rest.read(std::min<std::size_t>(state.cbInQue, room.size() - count));
    WaitForSingleObject(rest.event(), 1000);
    if (rest.state() == Operation::State::done) take(rest.bytes());
  }
  mFirstByte.read(1);
  return count;
}

/// The first call begins the reading.
void Win32SerialDevice::discardReceived() {
  PurgeComm(mDevice.get(), PURGE_RXCLEAR);
  if (mFirstByte.state() == Operation::State::done) mFirstByte.read(1);
}

}  // namespace

std::unique_ptr<SerialDevice> openSerialDevice(const std::string& path, const std::string& name) {
  return std::make_unique<Win32SerialDevice>(path, name);
}

}  // namespace cronvel
