#include "protocol/Monitoring.h"

#include <utility>

#include "protocol/CommandExchange.h"
#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// The body goes without parity, unlike other commands' bodies.
constexpr CommandForm switchForm{
    .code = 23, .network = NetworkVariant::listen, .bodySettings = "600,n,8,1"};

/// A statement whose errors do not count.
template <typename Statement>
void ignoringErrors(Statement&& statement) {
  try {
    statement();
  } catch (const RunTimeError&) {
  }
}

}  // namespace

Monitoring::Monitoring(const DeviceLinks& links, Store storeMonitoringOn)
    : mLinks(links), mStoreMonitoringOn(std::move(storeMonitoringOn)) {}

/// What all of them do before anything is sent; False without a carrier.
bool Monitoring::begin(bool New_MonitoringON) {
  if (!CommandExchange(mLinks, switchForm).carrierPresent()) return false;
  mStoreMonitoringOn(New_MonitoringON);
  mLinks.network.directRead(false);  // a terminal's events have to arrive
  return true;
}

bool Monitoring::SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  if (!begin(New_MonitoringON)) return false;
  if (!sRemoteHost.empty()) return switchFirstSocket(New_MonitoringON);
  CommandExchange(mLinks, switchForm).sendSwitch(New_MonitoringON);
  return true;
}

bool Monitoring::switchFirstSocket(bool on) {
  if (!mLinks.waitForTerminal()) return false;
  CommandExchange exchange(mLinks, DeviceLine::onSocket(mLinks, 0, {}), switchForm);
  exchange.sendSwitchBytes(on);
  if (!on) exchange.line().close();
  return true;
}

bool Monitoring::SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  if (sRemoteHost.empty() || !begin(New_MonitoringON)) return false;
  SocketArray& sockets = mLinks.network.sockets();
  const std::int16_t index = toInteger(sockets.upperBound() + 1);
  sockets.load(index);
  mLinks.network.SetWinSockTCPMode(index);
  CommandExchange exchange(mLinks, DeviceLine::onSocket(mLinks, index, sRemoteHost), switchForm);
  if (!exchange.line().prepare(NetworkVariant::listen)) {
    mLinks.platform.note("no terminal connected in within 10 s");
    exchange.line().close();
    sockets.unload(index);
    return false;
  }
  exchange.sendSwitchBytes(New_MonitoringON);
  const auto reply = exchange.awaitReply();
  if (!reply) exchange.line().close();
  return reply && Outcome{Outcome::Kind::replied, *reply}.accepted();
}

bool Monitoring::SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  if (sRemoteHost.empty() || !begin(New_MonitoringON)) return false;
  SocketArray& sockets = mLinks.network.sockets();
  const int last = sockets.upperBound();
  for (int i = 1; i <= last; ++i) {
    const auto index = static_cast<std::int16_t>(i);
    if (sockets.exists(index) && sockets.at(index).State() == sckConnected)
      switchMember(index, New_MonitoringON);
  }
  return true;
}

void Monitoring::switchMember(std::int16_t index, bool on) {
  CommandExchange exchange(mLinks, DeviceLine::onSocket(mLinks, index, {}), switchForm);
  exchange.sendSwitchBytes(on);
  exchange.awaitReply();  // whatever it says, the connection ends
  exchange.line().close();
  SocketArray& sockets = mLinks.network.sockets();
  while (sockets.at(index).State() > sckClosed) mLinks.platform.messagePump().waitEvents();
  sockets.unload(index);
}

bool Monitoring::StartMonitoringGroup() {
  NetworkLink& network = mLinks.network;
  const std::int16_t index = network.sockets().upperBound();
  ignoringErrors([&] { network.WinSockConnectToHost(index, network.WinSockRemoteHost); });
  ignoringErrors([&] { network.WinSockSendDataByte(index, 0); });
  return true;
}

}  // namespace cronvel
