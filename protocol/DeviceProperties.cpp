#include "protocol/DeviceProperties.h"

#include "protocol/BlockStream.h"
#include "protocol/CommandExchange.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::size_t blockSize = 101;

Bytes gather(DeviceLinks& links, BlockStream& stream) {
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
  links.note(count == 0 ? NoteKind::noAnswer : NoteKind::accepted,
             std::to_string(count) + " bytes of properties came");
  return properties;
}

}  // namespace

Variant DeviceProperties::GetDeviceProperties(const std::u16string& sRemoteHost) {
  CommandExchange exchange(mLinks, sRemoteHost,
                           {.code = 24,
                            .network = NetworkVariant::listen,
                            .discardOutput = true,
                            .monitoring = alwaysRestored});
  if (!exchange.carrierPresent()) return {};
  exchange.connect();
  exchange.holdMonitoring();
  if (!exchange.prepareLink()) return {};
  exchange.sendRequest();
  exchange.settings("600,s,8,1");
  exchange.endBody();
  Bytes properties = gather(mLinks, *exchange.line().stream(StreamReading::direct));
  exchange.release(true);
  return properties;
}

}  // namespace cronvel
