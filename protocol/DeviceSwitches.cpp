#include "protocol/DeviceSwitches.h"

#include "protocol/CommandExchange.h"

namespace cronvel {
namespace {

// The terminal's command codes.
constexpr int readerCode = 17;
constexpr int monitoringCode = 23;

void sendSwitch(const DeviceLinks& links, int code, bool on, std::string_view bodySettings) {
  CommandExchange exchange(links, {}, {.bodySettings = bodySettings});
  exchange.prepareLink();
  exchange.sendAddress();
  exchange.beginBody();
  exchange.send(2);
  exchange.send(code);
  exchange.send(on ? 'T' : 'F', 0);
}

}  // namespace

void sendReaderSwitch(const DeviceLinks& links, bool on) {
  sendSwitch(links, readerCode, on, "600,s,8,1");
}

void sendMonitoringSwitch(const DeviceLinks& links, bool on) {
  // This command departs from the others: its body goes without parity.
  sendSwitch(links, monitoringCode, on, "600,n,8,1");
}

}  // namespace cronvel
