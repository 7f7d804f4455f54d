#include "platform/sockets/DatagramSocket.h"

#include <array>

#include "platform/sockets/Inet.h"

namespace cronvel {

namespace {
constexpr std::size_t waitingLimit = 1024;
constexpr int longestSendWait = 100;  // milliseconds
}  // namespace

DatagramSocket::DatagramSocket(SocketPlace& place)
    : ReceivingSocket(place), mSocket(makeSocket(SocketKind::datagram)) {
  const sockaddr_in address = inetAddress({}, place.localPort);
  if (!mSocket || ::bind(mSocket.get(), generic(&address), sizeof address) != 0)
    SocketError::localPort(lastSocketError(), place.localPort).raise();
  setOption(mSocket.get(), SOL_SOCKET, SO_BROADCAST, 1);
}

short DatagramSocket::interest() const {
  return mWaiting.size() < waitingLimit ? Poller::readable : short{0};
}

void DatagramSocket::pump(short found) {
  if (found != 0) fill();
  mPlace.updateWatch();
  announce();
}

void DatagramSocket::send(std::span<const std::uint8_t> bytes) {
  if (mPlace.state == sckError)
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "socket " + std::to_string(mPlace.index) + " has failed; close it first");
  const std::string host = mPlace.host();
  const auto addresses = Resolver::numeric(host);
  if (!addresses.empty() && mHeld.empty()) return sendTo(addresses.front(), bytes);
  mHeld.emplace_back(bytes.begin(), bytes.end());
  if (mHeld.size() > 1) return;
  mQuery = mPlace.network.resolver.resolve(
      host, [this](const Resolver::Answer& answer) { sendHeld(answer); });
}

void DatagramSocket::sendHeld(const Resolver::Answer& answer) {
  const auto held = std::exchange(mHeld, {});
  if (answer.addresses.empty()) return mPlace.failLater(mPlace.hostNotFound(answer.problem));
  try {
    for (const Bytes& bytes : held) sendTo(answer.addresses.front(), bytes);
  } catch (const RunTimeError& error) {
    mPlace.failLater(
        {error.number(), "a datagram to " + describe(*mPlace.peer) + " could not be sent"});
  }
}

void DatagramSocket::sendTo(in_addr host, std::span<const std::uint8_t> bytes) {
  const sockaddr_in peer = inetAddress(host, mPlace.remotePort);
  mPlace.peer = peer;
  const auto send = [&] { return sendDatagram(mSocket.get(), bytes, peer) >= 0; };
  if (send()) return;
  if (wouldBlock(lastSocketError())) {
    waitWritable(mSocket.get(), longestSendWait);
    if (send()) return;
  }
  SocketError::connection(lastSocketError(), describe(peer)).raise();
}

void DatagramSocket::abandon() {
  mQuery = {};
  mHeld.clear();
  mWaiting.clear();
  mSocket.reset();
}

void DatagramSocket::receive() {
  std::array<std::uint8_t, 65536> block;
  while (mWaiting.size() < waitingLimit) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = receiveDatagram(mSocket.get(), block, sender);
    if (count < 0) break;
    mWaiting.push_back({Bytes(block.begin(), block.begin() + count), sender});
    ++mArrivals;
  }
}

Bytes DatagramSocket::takeWaiting() {
  Datagram first = std::move(mWaiting.front());
  mWaiting.pop_front();
  mPlace.peer = first.sender;
  return std::move(first.bytes);
}

}  // namespace cronvel
