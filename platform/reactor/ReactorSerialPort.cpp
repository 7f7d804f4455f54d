#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <set>
#include <utility>

#include "platform/reactor/CallOut.h"
#include "platform/reactor/Parts.h"
#include "platform/reactor/SerialDevice.h"
#include "platform/reactor/SerialSettings.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t bufferLimit = 1 << 20;
constexpr std::uint8_t endOfFileByte = 0x1A;

class ReactorSerialPort : public SerialPort {
 public:
  ReactorSerialPort(Reactor& reactor, Clock& clock, CommPortPath path)
      : mClock(clock),
        mPathOf(std::move(path)),
        mWatch(reactor.watch([this](short) { service(); })) {}

  ~ReactorSerialPort() override { close(); }

  void configure(const SerialPortSetup& setup) override;
  std::int16_t CommPort() const override { return mNumber; }
  void CommPort(std::int16_t number) override;
  std::string Settings() const override { return mSettingsText; }
  void Settings(std::string_view settings) override;
  bool PortOpen() const override { return mDevice != nullptr; }
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
  void requireOpen() const;
  void requireZero(std::int32_t count) const;
  void requireDevice() const;

  void open();
  void close();
  void applySetup();
  void drain();

  void fill();
  void store(std::span<const std::uint8_t> bytes);
  void watchInput();
  void service();
  void raisePending();

  Clock& mClock;
  CommPortPath mPathOf;
  std::int16_t mNumber = 1;
  std::string mPath;  ///< of the device that was opened last
  SerialPortSetup mSetup;
  std::string mSettingsText = "9600,n,8,1";
  SerialSettings mSettings;
  bool mGone = false;
  Bytes mReceived;
  std::set<std::int16_t> mPending;  ///< events to raise in the next pass
  std::int16_t mCommEvent = 0;
  std::function<void()> mHandler;
  steady_clock::time_point mWireFree;  ///< when the last byte written has left the wire
  CallOut mCallOut;
  std::unique_ptr<SerialDevice> mDevice;  ///< null: the port is closed
  Reactor::Watch mWatch;
};

void ReactorSerialPort::fail(ErrorNumber number, const std::string& what) const {
  throw RunTimeError(number, name() + " " + what);
}

void ReactorSerialPort::requireOpen() const {
  if (!mDevice)
    throw RunTimeError(ErrorNumber::portNotOpen, "COM" + std::to_string(mNumber) + " is closed");
}

void ReactorSerialPort::requireZero(std::int32_t count) const {
  if (count != 0)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "a buffer count can only be set to 0, not to " + std::to_string(count));
}

void ReactorSerialPort::requireDevice() const {
  if (mGone && mReceived.empty())
    fail(ErrorNumber::errorReadingCommDevice,
         "is gone; check the cable or adapter, then close the port and open it again");
}

void ReactorSerialPort::CommPort(std::int16_t number) {
  if (mDevice)
    throw RunTimeError(ErrorNumber::portIsOpen,
                       "close COM" + std::to_string(mNumber) + " before choosing another port");
  if (number < 1)
    throw RunTimeError(ErrorNumber::invalidPortNumber,
                       std::to_string(number) + "; ports are numbered from 1");
  mNumber = number;
}

void ReactorSerialPort::Settings(std::string_view text) {
  const auto settings = SerialSettings::parse(text);
  if (mDevice) {
    drain();
    mDevice->apply(settings, mSetup.Handshaking);
  }
  mSettings = settings;
  mSettingsText = text;
}

void ReactorSerialPort::PortOpen(bool open) {
  if (!open) return close();
  if (mDevice) fail(ErrorNumber::portAlreadyOpen, "is already open here; use it as it is");
  this->open();
}

void ReactorSerialPort::open() {
  mPath = mPathOf(mNumber);
  auto device = openSerialDevice(mPath, name());
  device->apply(mSettings, mSetup.Handshaking);
  mDevice = std::move(device);
  applySetup();
  mDevice->discardReceived();
  mGone = false;
  mReceived.clear();
  mPending.clear();
  mWireFree = {};
  watchInput();
}

void ReactorSerialPort::close() {
  if (!mDevice) return;
  try {
    if (!mGone) drain();
  } catch (const RunTimeError&) {
    mDevice->discardUnsent();  // or the system waits for the stuck bytes once more
  }
  mWatch.detach();
  mWatch.cancelCall();
  mWatch.callEachPass(false);
  mDevice.reset();
  mReceived.clear();
}

void ReactorSerialPort::applySetup() {
  mDevice->setDtr(mSetup.DTREnable);
  if ((mSetup.Handshaking & SerialDevice::hardwareHandshake) == 0)
    mDevice->setRts(mSetup.RTSEnable);
  mDevice->setBreak(mSetup.Break);
}

void ReactorSerialPort::configure(const SerialPortSetup& setup) {
  mSetup = setup;
  if (!mDevice) return;
  drain();
  mDevice->apply(mSettings, mSetup.Handshaking);
  applySetup();
}

void ReactorSerialPort::DTREnable(bool enable) {
  mSetup.DTREnable = enable;
  if (mDevice) mDevice->setDtr(enable);
}

bool ReactorSerialPort::CDHolding() { return mDevice && mDevice->carrier(); }

/// Waits until the bytes written are on the wire. The system's own drain may end when a USB
/// adapter's chip has them, so the time they need on the wire is waited for as well.
void ReactorSerialPort::drain() {
  auto lastProgress = steady_clock::now();
  std::int32_t left = OutBufferCount();
  while (left > 0) {
    mClock.sleep(1);
    const std::int32_t now = OutBufferCount();
    if (now < left) lastProgress = steady_clock::now();
    if (steady_clock::now() - lastProgress > SerialDevice::stuckAfter)
      fail(ErrorNumber::deviceIoError, "keeps its bytes; check the cable and the handshaking");
    left = now;
  }
  mDevice->finishSending();
  const std::chrono::duration<double, std::milli> onWire = mWireFree - steady_clock::now();
  if (onWire.count() > 0) mClock.sleep(static_cast<std::int32_t>(std::ceil(onWire.count())));
}

std::int32_t ReactorSerialPort::OutBufferCount() {
  requireOpen();
  return mDevice->unsentCount();
}

void ReactorSerialPort::OutBufferCount(std::int32_t count) {
  requireOpen();
  requireZero(count);
  mDevice->discardUnsent();
}

void ReactorSerialPort::Output(std::span<const std::uint8_t> bytes) {
  requireOpen();
  const std::chrono::duration<double> onWire(static_cast<double>(bytes.size()) *
                                             mSettings.bitsPerByte() / mSettings.speed);
  mDevice->write(bytes);
  mWireFree = std::max(mWireFree, steady_clock::now()) +
              std::chrono::duration_cast<steady_clock::duration>(onWire);
  if (mSetup.SThreshold > 0) {
    mPending.insert(comEvSend);
    mWatch.callSoon();
  }
}

std::int32_t ReactorSerialPort::InBufferCount() {
  requireOpen();
  fill();
  if (!mPending.empty()) mWatch.callSoon();
  requireDevice();
  return static_cast<std::int32_t>(mReceived.size());
}

void ReactorSerialPort::InBufferCount(std::int32_t count) {
  requireOpen();
  requireZero(count);
  mDevice->discardReceived();
  mReceived.clear();
  fill();  // what was on its way through the driver
  mReceived.clear();
  mPending.erase(comEvReceive);
  watchInput();
}

Bytes ReactorSerialPort::Input() {
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
void ReactorSerialPort::fill() {
  std::array<std::uint8_t, 4096> block;
  while (!mGone && mReceived.size() < bufferLimit) {
    const auto count = mDevice->read(block);
    mGone = !count;
    if (!count || *count == 0) break;
    store(std::span(block).first(*count));
  }
  watchInput();
}

void ReactorSerialPort::store(std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    if (byte == 0 && mSetup.NullDiscard) continue;
    if (byte == endOfFileByte && mSetup.EOFEnable) mPending.insert(comEvEOF);
    mReceived.push_back(byte);
  }
  if (mSetup.RThreshold > 0 && std::ssize(mReceived) >= mSetup.RThreshold)
    mPending.insert(comEvReceive);
}

void ReactorSerialPort::watchInput() {
  if (mGone || mReceived.size() >= bufferLimit)
    mWatch.detach();  // a device that is gone would be reported ready for ever
  else
    mWatch.attach(mDevice->handle(), mDevice->inputEvent());
}

void ReactorSerialPort::service() {
  fill();
  // What comes while the handler runs is raised after it.
  mWatch.callEachPass(mCallOut.running() && !mPending.empty());
  if (!mCallOut.running()) raisePending();
}

void ReactorSerialPort::raisePending() {
  if (!mHandler) return mPending.clear();
  const CallOut::Scope scope(mCallOut);
  const auto handler = mHandler;
  for (const std::int16_t event : std::exchange(mPending, {})) {
    mCommEvent = event;
    handler();
    if (scope.ownerGone() || !mDevice) return;
  }
}

}  // namespace

std::unique_ptr<SerialPort> makeSerialPort(Reactor& reactor, Clock& clock, CommPortPath path) {
  return std::make_unique<ReactorSerialPort>(reactor, clock, std::move(path));
}

}  // namespace cronvel
