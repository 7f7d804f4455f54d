#include "protocol/DeviceProperties.h"

#include "protocol/BlockStream.h"
#include "protocol/CommandExchange.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::size_t blockSize = 101;

Bytes gather(const DeviceLinks& links, BlockStream& stream) {
  Bytes properties(blockSize, 0);
  std::size_t count = 0;
  while (const auto block = nextBlock(links, stream)) {
    for (const std::uint8_t byte : *block) {
      if (count == blockSize)
        throw RunTimeError(
            ErrorNumber::subscriptOutOfRange,
            "the terminal sent more than " + std::to_string(blockSize) + " bytes of properties");
      properties[count++] = byte;
    }
  }
  links.platform.note(std::to_string(count) + " bytes of properties came");
  return properties;
}

}  // namespace

Variant getDeviceProperties(const DeviceLinks& links, const std::u16string& sRemoteHost) {
  CommandExchange exchange(links, sRemoteHost,
                           {.code = 24,
                            .network = NetworkVariant::listen,
                            .discardOutput = true,
                            .monitoring = MonitoringEnd::restored});
  if (!exchange.carrierPresent()) return {};
  exchange.connect();
  exchange.holdMonitoring();
  if (!exchange.prepareLink()) return {};
  exchange.sendRequest();
  exchange.line().settings("600,s,8,1");
  exchange.endBody();
  Bytes properties;
  {
    const auto stream = exchange.line().isSerial() ? BlockStream::ofLine(exchange.line())
                                                   : BlockStream::ofSocket(links.network);
    properties = gather(links, *stream);
  }
  exchange.release(true);
  return properties;
}

}  // namespace cronvel
