#include "protocol/Monitoring.h"

#include <memory>
#include <utility>

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

/// Whether bytes that came behind the switch tell that the terminal has taken it: events may still
/// come in front of the reply.
bool confirms(const Bytes& bytes) {
  return !bytes.empty() && (bytes.front() == successReply || bytes.back() == successReply);
}

/// All connections that stand, as one line: what is sent goes to each of them.
class ConnectedTerminals : public DeviceLine {
 public:
  explicit ConnectedTerminals(DeviceLinks& links) : mNetwork(links.network) {
    SocketArray& sockets = mNetwork.sockets();
    for (std::int16_t i = 0; i <= sockets.upperBound(); ++i)
      if (sockets.exists(i) && sockets.at(i).State() == sckConnected)
        mAwaited.push_back(std::make_unique<NetworkLink::Stream>(mNetwork, i));
    mIndexes = silent();
  }

  bool connect(NetworkVariant /*variant*/) override { return true; }
  bool prepare(NetworkVariant /*variant*/) override { return true; }
  void discardOutput() override {}
  void discardInput() override {}
  void settings(std::string_view /*settings*/) override {}
  void send(int value, const std::function<bool()>& wanted) override {
    const std::uint8_t byte = toByte(value);
    for (const std::int16_t index : mIndexes)
      ignoringErrors([&] { mNetwork.send(index, byte, wanted); });
  }
  void expectReply() override {}
  /// Once all have confirmed.
  std::optional<Bytes> takeReply() override {
    std::erase_if(mAwaited, [](const auto& stream) {
      const auto bytes = stream->take();
      return bytes && confirms(*bytes);
    });
    return mAwaited.empty() ? std::optional(Bytes{successReply}) : std::nullopt;
  }
  std::unique_ptr<BlockStream> stream(StreamReading /*reading*/) override { return nullptr; }
  void close() override {
    for (const std::int16_t index : mIndexes) {
      mNetwork.members().WinSockClose(index);
      if (index > 0) mNetwork.sockets().unload(index);
    }
  }
  /// The sockets of those that have not confirmed.
  std::vector<std::int16_t> silent() const {
    std::vector<std::int16_t> indexes;
    for (const auto& stream : mAwaited) indexes.push_back(stream->index());
    return indexes;
  }

 private:
  bool isNetwork() const override { return true; }

  NetworkLink& mNetwork;
  std::vector<std::unique_ptr<NetworkLink::Stream>> mAwaited;
  std::vector<std::int16_t> mIndexes;
};

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

bool Monitoring::switchLineOff() {
  const Ending::Command underWay(mLinks.ending);
  if (!begin(false)) return false;
  CommandExchange exchange(mLinks, switchForm(NetworkVariant::connect));
  if (!exchange.sendSwitch(false)) return false;
  return mLinks.waitFor(exchange.limit(), [&] {
    const auto bytes = exchange.line().takeReply();
    return bytes && confirms(*bytes);
  });
}

std::vector<std::int16_t> Monitoring::switchConnectionsOff() {
  const Ending::Command underWay(mLinks.ending);
  if (!begin(false)) return {};
  auto all = std::make_unique<ConnectedTerminals>(mLinks);
  ConnectedTerminals& terminals = *all;
  CommandExchange exchange(mLinks, std::move(all), switchForm(NetworkVariant::connect));
  if (exchange.sendSwitch(false)) exchange.awaitReply();
  exchange.line().close();
  return terminals.silent();
}

bool Monitoring::StartMonitoringGroup() {
  SocketMembers& members = mLinks.network.members();
  const std::int16_t index = mLinks.network.sockets().upperBound();
  ignoringErrors([&] { members.WinSockConnectToHost(index, members.WinSockRemoteHost()); });
  ignoringErrors([&] { members.WinSockSendDataByte(index, 0); });
  return true;
}

}  // namespace cronvel
