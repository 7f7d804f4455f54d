#include "platform/reactor/UdpSocket.h"

#include <array>

#include "platform/reactor/Inet.h"
#include "platform/reactor/SocketError.h"

namespace cronvel {

namespace {
constexpr std::size_t waitingLimit = 1024;
constexpr int longestSendWait = 100;  // milliseconds
}  // namespace

UdpSocket::UdpSocket(std::int32_t localPort) : mSocket(makeSocket(SocketKind::datagram)) {
  const sockaddr_in address = inetAddress({}, localPort);
  if (!mSocket || ::bind(mSocket.get(), generic(&address), sizeof address) != 0)
    SocketError::localPort(lastSocketError(), localPort).raise();
  setOption(mSocket.get(), SOL_SOCKET, SO_BROADCAST, 1);
}

short UdpSocket::interest() const {
  return mWaiting.size() < waitingLimit ? Poller::readable : short{0};
}

void UdpSocket::sendTo(const sockaddr_in& peer, std::span<const std::uint8_t> bytes) const {
  const auto send = [&] { return sendDatagram(mSocket.get(), bytes, peer) >= 0; };
  if (send()) return;
  if (wouldBlock(lastSocketError())) {
    waitWritable(mSocket.get(), longestSendWait);
    if (send()) return;
  }
  SocketError::connection(lastSocketError(), describe(peer)).raise();
}

void UdpSocket::fill() {
  std::array<std::uint8_t, 65536> block;
  while (mWaiting.size() < waitingLimit) {
    sockaddr_in sender{};
    const std::ptrdiff_t count = receiveDatagram(mSocket.get(), block, sender);
    if (count < 0) break;
    mWaiting.push_back({Bytes(block.begin(), block.begin() + count), sender.sin_addr});
    ++mArrivals;
  }
}

UdpSocket::Datagram UdpSocket::take() {
  Datagram first = std::move(mWaiting.front());
  mWaiting.pop_front();
  return first;
}

}  // namespace cronvel
