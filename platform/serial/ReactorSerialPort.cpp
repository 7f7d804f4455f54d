#include "platform/serial/ReactorSerialPort.h"

#include <set>
#include <utility>

#include "platform/reactor/CallOut.h"
#include "platform/serial/SerialInput.h"
#include "platform/serial/SerialOutput.h"
#include "platform/system/Machine.h"

namespace cronvel {
namespace {

class ReactorSerialPort : public SerialPort {
 public:
  ReactorSerialPort(Reactor& reactor, Clock& clock, CommPortPath path)
      : mPathOf(std::move(path)),
        mOutput(clock),
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
  void requireOpen() const;
  static void requireZero(std::int32_t count);
  void requireDevice() const;

  void open();
  void close();
  void applySetup();

  void fill();
  void watchInput();
  void service();
  void raisePending();

  CommPortPath mPathOf;
  std::int16_t mNumber = 1;
  SerialPortSetup mSetup;
  std::string mSettingsText = "9600,n,8,1";
  SerialSettings mSettings;
  SerialInput mInput;
  SerialOutput mOutput;
  std::set<std::int16_t> mPending;  ///< events to raise in the next pass
  std::int16_t mCommEvent = 0;
  std::function<void()> mHandler;
  CallOut mCallOut;
  std::unique_ptr<SerialDevice> mDevice;  ///< null: the port is closed
  Reactor::Watch mWatch;
};

void ReactorSerialPort::requireOpen() const {
  if (!mDevice)
    throw RunTimeError(ErrorNumber::portNotOpen, "COM" + std::to_string(mNumber) + " is closed");
}

void ReactorSerialPort::requireZero(std::int32_t count) {
  if (count != 0)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "a buffer count can only be set to 0, not to " + std::to_string(count));
}

void ReactorSerialPort::requireDevice() const {
  if (mInput.gone() && mInput.count() == 0)
    mDevice->fail(ErrorNumber::errorReadingCommDevice,
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
    mOutput.drain(*mDevice);
    mDevice->apply(settings, mSetup.Handshaking);
  }
  mSettings = settings;
  mSettingsText = text;
}

void ReactorSerialPort::PortOpen(bool open) {
  if (!open) return close();
  if (mDevice) mDevice->fail(ErrorNumber::portAlreadyOpen, "is already open here; use it as it is");
  this->open();
}

void ReactorSerialPort::open() {
  const std::string path = mPathOf(mNumber);
  // A path that somebody chose says more than the number that stands for it.
  const bool chosen = path != usualPortPath(mNumber);
  const std::string number = "COM" + std::to_string(mNumber);
  auto device = openSerialDevice(path, chosen ? path : number + " (" + path + ")");
  device->apply(mSettings, mSetup.Handshaking);
  mDevice = std::move(device);
  applySetup();
  mDevice->discardReceived();
  mInput = {};
  mOutput.restart();
  mPending.clear();
  watchInput();
}

void ReactorSerialPort::close() {
  if (!mDevice) return;
  try {
    if (!mInput.gone()) mOutput.drain(*mDevice);
  } catch (const RunTimeError&) {
    mDevice->discardUnsent();  // or the system waits for the stuck bytes once more
  }
  mWatch.detach();
  mWatch.cancelCall();
  mWatch.callEachPass(false);
  mDevice.reset();
  mInput.clear();
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
  mOutput.drain(*mDevice);
  mDevice->apply(mSettings, mSetup.Handshaking);
  applySetup();
}

void ReactorSerialPort::DTREnable(bool enable) {
  mSetup.DTREnable = enable;
  if (mDevice) mDevice->setDtr(enable);
}

bool ReactorSerialPort::CDHolding() { return mDevice && mDevice->carrier(); }

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
  mOutput.write(*mDevice, mSettings, bytes);
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
  return mInput.count();
}

void ReactorSerialPort::InBufferCount(std::int32_t count) {
  requireOpen();
  requireZero(count);
  mDevice->discardReceived();
  mInput.clear();
  fill();  // what was on its way through the driver
  mInput.clear();
  mPending.erase(comEvReceive);
  watchInput();
}

Bytes ReactorSerialPort::Input() {
  requireOpen();
  fill();
  requireDevice();
  Bytes taken = mInput.take(mSetup.InputLen);
  if (mInput.count() == 0) mPending.erase(comEvReceive);
  watchInput();
  return taken;
}

void ReactorSerialPort::fill() {
  mInput.fill(*mDevice, mSetup, mPending);
  watchInput();
}

void ReactorSerialPort::watchInput() {
  if (mInput.gone() || mInput.full())
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
