#include "protocol/Monitoring.h"

#include "protocol/CommandExchange.h"
#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// The body goes without parity, unlike other commands' bodies.
CommandForm switchForm(NetworkVariant network) {
  return {.code = 23, .network = network, .bodySettings = "600,n,8,1", .monitoring = notHeld};
}

/// A statement whose errors do not count.
template <typename Statement>
void ignoringErrors(Statement&& statement) {
  try {
    statement();
  } catch (const RunTimeError&) {
  }
}

}  // namespace

/// What all of them do before anything is sent; False without a carrier.
bool Monitoring::begin(bool New_MonitoringON) {
  if (!CommandExchange(mLinks, {}).carrierPresent()) return false;
  mLinks.host.setInRunMode(mLinks.state.MonitoringON, New_MonitoringON, "MonitoringON");
  return true;
}

void Monitoring::MonitoringON(bool New_MonitoringON) { SetMonitoringOnOff({}, New_MonitoringON); }

bool Monitoring::SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  const Ending::Command underWay(mLinks.ending);
  if (!begin(New_MonitoringON)) return false;
  CommandExchange exchange(mLinks, sRemoteHost, switchForm(NetworkVariant::await));
  if (!exchange.connect()) return false;
  const bool sent = exchange.sendSwitch(New_MonitoringON);
  if (!New_MonitoringON) exchange.line().close();
  return sent;
}

bool Monitoring::SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  const Ending::Command underWay(mLinks.ending);
  if (sRemoteHost.empty() || !begin(New_MonitoringON)) return false;
  SocketArray& sockets = mLinks.network.sockets();
  const std::int16_t index = toInteger(sockets.upperBound() + 1);
  sockets.load(index);
  mLinks.network.members().SetWinSockTCPMode(index);
  CommandExchange exchange(mLinks, DeviceLine::onSocket(mLinks, index, sRemoteHost),
                           switchForm(NetworkVariant::listen));
  if (!exchange.sendSwitch(New_MonitoringON)) {
    sockets.unload(index);
    return false;
  }
  const auto reply = exchange.awaitReply();
  if (!reply) exchange.line().close();
  return reply && Outcome{Outcome::Kind::replied, *reply}.accepted();
}

bool Monitoring::SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  const Ending::Command underWay(mLinks.ending);
  if (sRemoteHost.empty() || !begin(New_MonitoringON)) return false;
  SocketArray& sockets = mLinks.network.sockets();
  const int last = sockets.upperBound();
  for (int i = 1; i <= last; ++i) {
    if (mLinks.ended()) return false;
    const auto index = static_cast<std::int16_t>(i);
    if (sockets.exists(index) && sockets.at(index).State() == sckConnected)
      switchMember(index, New_MonitoringON);
  }
  return true;
}

/// Over the connection that the member has.
void Monitoring::switchMember(std::int16_t index, bool on) {
  CommandExchange exchange(mLinks, DeviceLine::onSocket(mLinks, index, {}),
                           switchForm(NetworkVariant::connect));
  if (!exchange.sendSwitch(on)) return;
  exchange.awaitReply();  // whatever it says, the connection ends
  exchange.line().close();
  SocketArray& sockets = mLinks.network.sockets();
  mLinks.waitUntil([&] { return sockets.at(index).State() <= sckClosed; });
  sockets.unload(index);
}

bool Monitoring::StartMonitoringGroup() {
  SocketMembers& members = mLinks.network.members();
  const std::int16_t index = mLinks.network.sockets().upperBound();
  ignoringErrors([&] { members.WinSockConnectToHost(index, members.WinSockRemoteHost()); });
  ignoringErrors([&] { members.WinSockSendDataByte(index, 0); });
  return true;
}

}  // namespace cronvel
