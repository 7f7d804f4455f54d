#include "platform/serial/SerialInput.h"

#include <algorithm>
#include <array>

namespace cronvel {

namespace {
constexpr std::size_t bufferLimit = 1 << 20;
constexpr std::uint8_t endOfFileByte = 0x1A;
}  // namespace

bool SerialInput::full() const { return mBytes.size() >= bufferLimit; }

void SerialInput::fill(SerialDevice& device, const SerialPortSetup& setup,
                       std::set<std::int16_t>& due) {
  std::array<std::uint8_t, 4096> block;
  while (!mGone && !full()) {
    const auto count = device.read(block);
    mGone = !count;
    if (!count || *count == 0) break;
    store(std::span(block).first(*count), setup, due);
  }
}

void SerialInput::store(std::span<const std::uint8_t> bytes, const SerialPortSetup& setup,
                        std::set<std::int16_t>& due) {
  for (const std::uint8_t byte : bytes) {
    if (byte == 0 && setup.NullDiscard) continue;
    if (byte == endOfFileByte && setup.EOFEnable) due.insert(comEvEOF);
    mBytes.push_back(byte);
  }
  if (setup.RThreshold > 0 && std::ssize(mBytes) >= setup.RThreshold) due.insert(comEvReceive);
}

Bytes SerialInput::take(std::int16_t atMost) {
  auto end = mBytes.end();
  if (atMost > 0) end = mBytes.begin() + std::min<std::ptrdiff_t>(atMost, std::ssize(mBytes));
  Bytes taken(mBytes.begin(), end);
  mBytes.erase(mBytes.begin(), end);
  return taken;
}

}  // namespace cronvel
