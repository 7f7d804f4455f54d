#include "protocol/SerialDeviceLine.h"

#include <array>

#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// What arrives in the port's buffer.
class PortBlocks : public BlockStream {
 public:
  explicit PortBlocks(DeviceLine& line) : mLine(line) {}
  std::optional<Bytes> take() override { return mLine.takeReply(); }

 private:
  DeviceLine& mLine;
};

}  // namespace

bool ModemDeviceLine::prepare(NetworkVariant /*variant*/) {
  discardInput();
  return true;
}

void ModemDeviceLine::send(int value, const std::function<bool()>& wanted) {
  if (value < 0 || value > 0xFF)
    throw RunTimeError(ErrorNumber::invalidProcedureCall,
                       std::to_string(value) + " is no character code from 0 to 255");
  if (!wanted()) return;
  const std::array byte{static_cast<std::uint8_t>(value)};
  mPort.Output(byte);
}

std::optional<Bytes> ModemDeviceLine::takeReply() {
  if (mPort.InBufferCount() < 1) return std::nullopt;
  return mPort.Input();
}

std::unique_ptr<BlockStream> ModemDeviceLine::stream(StreamReading /*reading*/) {
  return std::make_unique<PortBlocks>(*this);
}

bool SerialDeviceLine::prepare(NetworkVariant variant) {
  // Mark parity sets the ninth bit, which tells the terminals that the first byte is an address.
  settings("600,m,8,1");
  if (!port().PortOpen()) port().PortOpen(true);
  return ModemDeviceLine::prepare(variant);
}

}  // namespace cronvel
