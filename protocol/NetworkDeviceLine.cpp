#include "protocol/NetworkDeviceLine.h"

#include "runtime/Conversion.h"

namespace cronvel {
namespace {

constexpr double connectLimit = 10;

/// Reads socket 0 itself as long as this lives; its data is no event meanwhile.
class SocketBlocks : public BlockStream {
 public:
  explicit SocketBlocks(NetworkLink& network) : mNetwork(network), mDirectRead(network) {}

  std::optional<Bytes> take() override {
    Socket& socket = mNetwork.sockets().at(0);
    if (socket.BytesReceived() < 1) return std::nullopt;
    return socket.GetData();
  }

 private:
  NetworkLink& mNetwork;
  NetworkLink::DirectRead mDirectRead;
};

/// What socket 0's data-arrival handler hands over, so that the host sees it as an event too.
class ArrivedBlocks : public BlockStream {
 public:
  explicit ArrivedBlocks(NetworkLink& network) : mNetwork(network), mStream(network, 0) {}
  std::optional<Bytes> take() override { return mStream.take(); }
  void busy(bool on) override {
    mDirectRead.reset();
    if (on) mDirectRead.emplace(mNetwork);
  }

 private:
  NetworkLink& mNetwork;
  NetworkLink::Stream mStream;
  std::optional<NetworkLink::DirectRead> mDirectRead;
};

}  // namespace

bool NetworkDeviceLine::connect(NetworkVariant variant) {
  if (variant == NetworkVariant::await) return awaitTerminal();
  if (variant == NetworkVariant::connect)
    mNetwork.members().WinSockConnectToHost(mIndex, mRemoteHost);
  return true;
}

bool NetworkDeviceLine::awaitTerminal() {
  mNetwork.members().WinSockListen(mIndex);
  mLinks.waitUntil([this] { return state() != sckConnecting && state() != sckListening; });
  if (state() == sckConnected) return true;
  mLinks.note(NoteKind::notConnected, "no terminal connected in");
  close();
  return false;
}

bool NetworkDeviceLine::prepare(NetworkVariant variant) {
  if (variant != NetworkVariant::listen) return true;
  mNetwork.members().SetWinSockLocalPort(mIndex, listenPort());
  mNetwork.members().WinSockListen(mIndex);
  mLinks.waitFor(connectLimit, [this] { return state() == sckConnected; });
  return state() == sckConnected;
}

void NetworkDeviceLine::send(int value, const std::function<bool()>& wanted) {
  mNetwork.send(mIndex, toByte(value), wanted);
}

std::unique_ptr<BlockStream> NetworkDeviceLine::stream(StreamReading reading) {
  if (reading == StreamReading::direct) return std::make_unique<SocketBlocks>(mNetwork);
  return std::make_unique<ArrivedBlocks>(mNetwork);
}

/// The number after the first "-", or the whole text.
std::int32_t NetworkDeviceLine::listenPort() const {
  const std::size_t dash = mRemoteHost.find(u'-');
  const std::size_t start = dash == std::u16string::npos ? 0 : dash + 1;
  return toLong(trim(std::u16string_view(mRemoteHost).substr(start)));
}

}  // namespace cronvel
