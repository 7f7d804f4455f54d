#pragma once

#include <set>

#include "platform/SerialPort.h"
#include "platform/system/SerialDevice.h"

namespace cronvel {

/// What a port received and nobody has taken yet.
class SerialInput {
 public:
  /// Takes what the device has, without waiting. Events that this calls for are added to `due`.
  void fill(SerialDevice& device, const SerialPortSetup& setup, std::set<std::int16_t>& due);
  /// Takes bytes out, `atMost` if that is not 0.
  Bytes take(std::int16_t atMost);
  void clear() { mBytes.clear(); }

  std::int32_t count() const { return static_cast<std::int32_t>(mBytes.size()); }
  bool full() const;
  /// The device can no longer be read.
  bool gone() const { return mGone; }

 private:
  void store(std::span<const std::uint8_t> bytes, const SerialPortSetup& setup,
             std::set<std::int16_t>& due);

  Bytes mBytes;
  bool mGone = false;
};

}  // namespace cronvel
