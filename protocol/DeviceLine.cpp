#include "protocol/DeviceLine.h"

#include "protocol/NetworkDeviceLine.h"
#include "protocol/SerialDeviceLine.h"

namespace cronvel {

std::unique_ptr<DeviceLine> DeviceLine::choose(DeviceLinks& links,
                                               const std::u16string& sRemoteHost) {
  constexpr std::int16_t commandSocket = 0;
  if (!sRemoteHost.empty()) return onSocket(links, commandSocket, sRemoteHost);
  if (links.state.DialupConnection) return std::make_unique<ModemDeviceLine>(links);
  return std::make_unique<SerialDeviceLine>(links);
}

std::unique_ptr<DeviceLine> DeviceLine::onSocket(DeviceLinks& links, std::int16_t index,
                                                 const std::u16string& sRemoteHost) {
  return std::make_unique<NetworkDeviceLine>(links, index, sRemoteHost);
}

}  // namespace cronvel
