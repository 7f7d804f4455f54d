#include "protocol/DeviceTables.h"

#include "protocol/CommandExchange.h"
#include "runtime/PackedBcd.h"

namespace cronvel {
namespace {

constexpr int alarmCode = 22;
constexpr int alarmEntries = 24;

}  // namespace

Variant DeviceTables::SetAlarm(const HostArray<std::uint8_t>& mTiming) {
  CommandExchange exchange(mLinks, {.code = alarmCode, .monitoring = notHeld});
  if (!exchange.carrierPresent()) return {};
  exchange.prepareLink();
  exchange.sendRequest();
  for (int i = 0; i < alarmEntries * 3; i += 3) {
    exchange.send(bcdByte(mTiming.at(i)));
    exchange.send(bcdByte(mTiming.at(i + 1)));
    exchange.send(mTiming.at(i + 2));
  }
  return {};
}

bool DeviceTables::DefCards(const std::u16string& sRemoteHost,
                            const HostArray<std::uint8_t>& mbyte) {
  return define(26, 6, sRemoteHost, mbyte);
}

bool DeviceTables::DefAlarms(const std::u16string& sRemoteHost,
                             const HostArray<std::uint8_t>& mbyte) {
  return define(alarmCode, 210, sRemoteHost, mbyte);
}

bool DeviceTables::define(int code, int count, const std::u16string& sRemoteHost,
                          const HostArray<std::uint8_t>& mbyte) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = code});
  return exchange
      .run([&](CommandExchange& body) {
        for (int i = 0; i < count; ++i) body.send(bcdByte(mbyte.at(i)));
      })
      .accepted();
}

}  // namespace cronvel
