#include "platform/posix/UdpSocket.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "platform/posix/Inet.h"
#include "platform/posix/SocketError.h"

namespace cronvel {

namespace {
constexpr std::size_t waitingLimit = 1024;
constexpr int longestSendWait = 100;  // milliseconds
}  // namespace

UdpSocket::UdpSocket(std::int32_t localPort)
    : mFd(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  const sockaddr_in address = inetAddress({INADDR_ANY}, localPort);
  if (!mFd || ::bind(mFd.get(), generic(&address), sizeof address) != 0)
    SocketError::localPort(errno, localPort).raise();
  const int on = 1;
  setsockopt(mFd.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
}

short UdpSocket::interest() const { return mWaiting.size() < waitingLimit ? POLLIN : short{0}; }

void UdpSocket::sendTo(const sockaddr_in& peer, std::span<const std::uint8_t> bytes) const {
  const auto send = [&] {
    return ::sendto(mFd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL, generic(&peer),
                    sizeof peer) >= 0;
  };
  if (send()) return;
  if (wouldBlock(errno)) {
    pollfd writable{mFd.get(), POLLOUT, 0};
    poll(&writable, 1, longestSendWait);
    if (send()) return;
  }
  SocketError::connection(errno, describe(peer)).raise();
}

void UdpSocket::fill() {
  std::array<std::uint8_t, 65536> block;
  while (mWaiting.size() < waitingLimit) {
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    const ssize_t count =
        ::recvfrom(mFd.get(), block.data(), block.size(), 0, generic(&sender), &size);
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
