#pragma once

#include <chrono>

#include "platform/Clock.h"
#include "platform/system/SerialDevice.h"

namespace cronvel {

/// Knows when what was written has left the wire.
class SerialOutput {
 public:
  explicit SerialOutput(Clock& clock) : mClock(clock) {}

  /// Nothing was written.
  void restart() { mWireFree = {}; }
  /// Raises 57.
  void write(SerialDevice& device, const SerialSettings& settings,
             std::span<const std::uint8_t> bytes);
  /// Waits until the bytes written are on the wire. The system's own drain may end when a USB
  /// adapter's chip has them, so the time they need on the wire is waited for as well. Raises 57
  /// for a device that keeps them.
  void drain(SerialDevice& device);

 private:
  Clock& mClock;
  std::chrono::steady_clock::time_point mWireFree;  ///< when the last byte has left
};

}  // namespace cronvel
