#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/reactor/Poller.h"
#include "platform/system/SerialSettings.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

/// The system's side of an open serial port.
class SerialDevice {
 public:
  /// How long a device may take no byte at all before it counts as stuck.
  static constexpr auto stuckAfter = std::chrono::seconds(3);
  /// Bits of a handshaking number.
  static constexpr int softwareHandshake = 1, hardwareHandshake = 2;

  explicit SerialDevice(std::string name) : mName(std::move(name)) {}
  virtual ~SerialDevice() = default;
  SerialDevice(const SerialDevice&) = delete;
  SerialDevice& operator=(const SerialDevice&) = delete;

  /// Takes effect at once. Raises 8015, and then leaves the line as it was.
  virtual void apply(const SerialSettings& settings, int handshaking) = 0;
  virtual void setDtr(bool on) = 0;
  virtual void setRts(bool on) = 0;
  virtual void setBreak(bool on) = 0;
  virtual bool carrier() = 0;

  /// Gives bytes to the driver. Raises 57.
  virtual void write(std::span<const std::uint8_t> bytes) = 0;
  /// Bytes that the driver has not passed on. May raise 57.
  virtual std::int32_t unsentCount() = 0;
  virtual void discardUnsent() = 0;
  /// With nothing unsent: waits until the hardware has sent what the driver passed on.
  virtual void finishSending() = 0;

  /// Takes what came, without waiting; none when the device is gone.
  virtual std::optional<std::size_t> read(std::span<std::uint8_t> room) = 0;
  virtual void discardReceived() = 0;
  /// What tells that `read` has something.
  virtual Poller::Handle handle() const = 0;
  virtual short inputEvent() const = 0;

  /// Raises an error about this device.
  [[noreturn]] void fail(ErrorNumber number, const std::string& what) const {
    throw RunTimeError(number, mName + " " + what);
  }

 protected:
  /// `missing`: what the line did not take, as the subject of a sentence.
  [[noreturn]] void failSettings(const std::string& missing) const {
    fail(ErrorNumber::couldNotSetCommState,
         "did not take " + missing +
             "; many USB adapters cannot do mark and space parity or every speed, use another "
             "adapter");
  }

 private:
  std::string mName;  ///< begins each failure's text
};

/// Raises 8002 (there is no such port), 8005 (another program has it) or 8010 (no access).
std::unique_ptr<SerialDevice> openSerialDevice(const std::string& path, const std::string& name);

}  // namespace cronvel
