#include "platform/sockets/SocketElement.h"

#include "platform/sockets/ConnectingSocket.h"
#include "platform/sockets/DatagramSocket.h"
#include "platform/sockets/Inet.h"
#include "platform/sockets/ListeningSocket.h"
#include "platform/sockets/StreamSocket.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::int32_t highestPort = 65535;

void requirePort(std::int32_t port) {
  if (port < 0 || port > highestPort)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "port " + std::to_string(port) + "; ports go from 0 to 65535");
}

}  // namespace

void SocketElement::start() {
  mPlace.watch = mPlace.network.reactor.watch([weak = weak_from_this()](short found) {
    if (const auto self = weak.lock()) self->mPlace.pump(found);
  });
}

void SocketElement::requireClosed(const char* what) const {
  if (mPlace.state != sckClosed)
    throw RunTimeError(ErrorNumber::invalidOperationAtState,
                       std::string(what) + " needs a closed socket, and socket " +
                           std::to_string(mPlace.index) + " is in state " +
                           std::to_string(mPlace.state));
}

void SocketElement::Protocol(std::int16_t protocol) {
  if (protocol != sckTCPProtocol && protocol != sckUDPProtocol)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "protocol " + std::to_string(protocol) + "; use 0 for TCP or 1 for UDP");
  requireClosed("setting the protocol");
  mPlace.protocol = protocol;
}

std::int32_t SocketElement::LocalPort() const {
  const SocketHandle socket = mPlace.socket ? mPlace.socket->handle() : noSocket;
  return socket == noSocket ? mPlace.localPort : boundPort(socket);
}

void SocketElement::LocalPort(std::int32_t port) {
  requirePort(port);
  requireClosed("setting the local port");
  mPlace.localPort = port;
}

std::int32_t SocketElement::RemotePort() const {
  return mAccepted ? ntohs(mPlace.peer->sin_port) : mPlace.remotePort;
}

void SocketElement::RemotePort(std::int32_t port) {
  requirePort(port);
  mPlace.remotePort = port;
}

std::u16string SocketElement::RemoteHost() const {
  return mAccepted ? RemoteHostIP() : mPlace.remoteHost;
}

std::u16string SocketElement::RemoteHostIP() const {
  return mPlace.peer ? toUtf16(dotted(mPlace.peer->sin_addr)) : std::u16string();
}

std::u16string SocketElement::LocalIP() const { return toUtf16(localAddress()); }

void SocketElement::Listen() {
  if (mPlace.protocol != sckTCPProtocol)
    throw RunTimeError(ErrorNumber::wrongProtocol, "only a TCP socket can listen");
  requireClosed("listening");
  mPlace.peer.reset();
  mPlace.put(std::make_shared<ListeningSocket>(mPlace), sckListening);
}

void SocketElement::Accept(std::int32_t requestID) {
  requireClosed("accepting");
  auto request = mPlace.hub->requests.extract(requestID);
  if (request.empty())
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "connection request " + std::to_string(requestID) + " is no longer there");
  mPlace.peer = request.mapped().peer;
  mAccepted = true;
  TcpStream stream(std::move(request.mapped().connection));
  mPlace.put(std::make_shared<StreamSocket>(mPlace, std::move(stream)), sckConnected);
}

void SocketElement::Connect(const std::u16string& host) {
  requireClosed("connecting");
  mPlace.remoteHost = host;
  Connect();
}

void SocketElement::Connect() {
  requireClosed("connecting");
  const std::string host = mPlace.host();
  mPlace.peer.reset();
  if (mPlace.protocol == sckUDPProtocol)
    return mPlace.put(std::make_shared<DatagramSocket>(mPlace), sckOpen);
  const auto connecting = std::make_shared<ConnectingSocket>(mPlace);
  mPlace.put(connecting, sckResolvingHost);
  connecting->start(host);
}

void SocketElement::SendData(std::span<const std::uint8_t> bytes) {
  if (mPlace.state == sckClosed && mPlace.protocol == sckUDPProtocol) {
    mPlace.host();  // before anything is opened for it
    mPlace.put(std::make_shared<DatagramSocket>(mPlace), sckOpen);
  }
  if (!mPlace.socket) throw mPlace.notConnected();
  mPlace.socket->send(bytes);
}

std::int32_t SocketElement::BytesReceived() {
  return mPlace.socket ? mPlace.socket->bytesReceived() : 0;
}

Bytes SocketElement::GetData() {
  if (mPlace.state == sckClosed || mPlace.state == sckListening)
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "socket " + std::to_string(mPlace.index) + " is not open");
  return mPlace.socket->take();
}

void SocketElement::Close() {
  mAccepted = false;
  mPlace.close();
}

}  // namespace cronvel
