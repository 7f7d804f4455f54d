#include "platform/sockets/TcpStream.h"

#include <array>

#include "platform/sockets/Inet.h"
#include "platform/sockets/SocketError.h"

namespace cronvel {

namespace {
constexpr std::size_t unreadLimit = 1 << 20;
/// Read at most in one pass, so that a fast peer does not hold up the others.
constexpr int blocksPerPass = 4;
using Block = std::array<std::uint8_t, 65536>;
}  // namespace

TcpStream::TcpStream(const sockaddr_in& peer) : mSocket(makeSocket(SocketKind::stream)) {
  if (mSocket) prepare();
  if (mSocket && ::connect(mSocket.get(), generic(&peer), sizeof peer) == 0) return;
  const int error = lastSocketError();
  if (!mSocket || !connectUnderWay(error)) mError = error;
}

TcpStream::TcpStream(OwnedSocket connected) : mSocket(std::move(connected)) { prepare(); }

/// Each write leaves at once: a byte that is sent paced must arrive paced.
void TcpStream::prepare() const {
  setOption(mSocket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
  setOption(mSocket.get(), SOL_SOCKET, SO_KEEPALIVE, 1);
}

short TcpStream::interest() const {
  int events = 0;
  if (!mEnded && mError == 0 && mReceived.size() < unreadLimit) events |= Poller::readable;
  if (unsent()) events |= Poller::writable;
  return static_cast<short>(events);
}

bool TcpStream::finishConnect() {
  if (mError != 0) return false;
  mError = connectFailure(mSocket.get());
  return mError == 0;
}

void TcpStream::send(std::span<const std::uint8_t> bytes) {
  mQueue.insert(mQueue.end(), bytes.begin(), bytes.end());
}

void TcpStream::flush() {
  while (unsent() && mError == 0) {
    const std::ptrdiff_t count = sendSome(mSocket.get(), std::span(mQueue).subspan(mSent));
    if (count >= 0) {
      mSent += static_cast<std::size_t>(count);
      mEverSent = true;
      continue;
    }
    const int error = lastSocketError();
    if (wouldBlock(error)) return;
    if (!interrupted(error)) breakOff(error);
  }
  mQueue.clear();  // sent, or lost with the connection
  mSent = 0;
}

/// What the peer sent before it broke the connection off has still arrived.
void TcpStream::breakOff(int error) {
  fill();
  mError = error;
}

Bytes TcpStream::takeUnsent() {
  Bytes rest(mQueue.begin() + static_cast<std::ptrdiff_t>(mSent), mQueue.end());
  mQueue.clear();
  mSent = 0;
  return rest;
}

void TcpStream::fill() {
  Block block;
  for (int i = 0; i < blocksPerPass && (interest() & Poller::readable) != 0; ++i) {
    const std::ptrdiff_t count = receiveSome(mSocket.get(), block);
    received(count);
    if (count <= 0) break;
    mReceived.insert(mReceived.end(), block.begin(), block.begin() + count);
    mArrivals += static_cast<std::uint64_t>(count);
    if (count < std::ssize(block)) break;
  }
}

void TcpStream::discard() {
  Block block;
  for (int i = 0; i < blocksPerPass && !mEnded && mError == 0; ++i) {
    const std::ptrdiff_t count = receiveSome(mSocket.get(), block);
    received(count);
    if (count < 0) break;
  }
}

void TcpStream::received(std::ptrdiff_t result) {
  if (result == 0) mEnded = true;
  if (result >= 0) return;
  const int error = lastSocketError();
  if (!wouldBlock(error) && !interrupted(error)) mError = error;
}

bool TcpStream::mustLinger() const {
  if (!mSocket || mError != 0) return false;
  if (mEnded) return unsent();
  return unsent() || unread() > 0 || undelivered(mSocket.get(), mEverSent) ||
         unreadInside(mSocket.get());
}

}  // namespace cronvel
