#include "platform/serial/SerialOutput.h"

#include <algorithm>
#include <cmath>

namespace cronvel {

using std::chrono::steady_clock;

void SerialOutput::write(SerialDevice& device, const SerialSettings& settings,
                         std::span<const std::uint8_t> bytes) {
  const std::chrono::duration<double> onWire(static_cast<double>(bytes.size()) *
                                             settings.bitsPerByte() / settings.speed);
  device.write(bytes);
  mWireFree = std::max(mWireFree, steady_clock::now()) +
              std::chrono::duration_cast<steady_clock::duration>(onWire);
}

void SerialOutput::drain(SerialDevice& device) {
  auto lastProgress = steady_clock::now();
  std::int32_t left = device.unsentCount();
  while (left > 0) {
    mClock.sleep(1);
    const std::int32_t now = device.unsentCount();
    if (now < left) lastProgress = steady_clock::now();
    if (steady_clock::now() - lastProgress > SerialDevice::stuckAfter)
      device.fail(ErrorNumber::deviceIoError,
                  "keeps its bytes; check the cable and the handshaking");
    left = now;
  }
  device.finishSending();
  const std::chrono::duration<double, std::milli> onWire = mWireFree - steady_clock::now();
  if (onWire.count() > 0) mClock.sleep(static_cast<std::int32_t>(std::ceil(onWire.count())));
}

}  // namespace cronvel
