#include "platform/posix/TcpStream.h"

#include <linux/sockios.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "platform/posix/Inet.h"
#include "platform/posix/SocketError.h"

namespace cronvel {

namespace {
constexpr std::size_t unreadLimit = 1 << 20;
/// Read at most in one pass, so that a fast peer does not hold up the others.
constexpr int blocksPerPass = 4;
using Block = std::array<std::uint8_t, 65536>;

int queuedIn(int fd, unsigned long request) {
  int count = 0;
  return ioctl(fd, request, &count) == 0 ? count : 0;
}
}  // namespace

TcpStream::TcpStream(const sockaddr_in& peer)
    : mFd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  if (mFd) prepare();
  if (!mFd || (::connect(mFd.get(), generic(&peer), sizeof peer) != 0 && errno != EINPROGRESS))
    mError = errno;
}

TcpStream::TcpStream(FileDescriptor connected) : mFd(std::move(connected)) { prepare(); }

/// Each write leaves at once: a byte that is sent paced must arrive paced.
void TcpStream::prepare() const {
  const int on = 1;
  setsockopt(mFd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(mFd.get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

short TcpStream::interest() const {
  int events = 0;
  if (!mEnded && mError == 0 && mReceived.size() < unreadLimit) events |= POLLIN;
  if (unsent()) events |= POLLOUT;
  return static_cast<short>(events);
}

bool TcpStream::finishConnect() {
  if (mError != 0) return false;
  socklen_t size = sizeof mError;
  if (getsockopt(mFd.get(), SOL_SOCKET, SO_ERROR, &mError, &size) != 0) mError = errno;
  return mError == 0;
}

void TcpStream::send(std::span<const std::uint8_t> bytes) {
  mQueue.insert(mQueue.end(), bytes.begin(), bytes.end());
}

void TcpStream::flush() {
  while (unsent() && mError == 0) {
    const ssize_t count =
        ::send(mFd.get(), mQueue.data() + mSent, mQueue.size() - mSent, MSG_NOSIGNAL);
    if (count >= 0)
      mSent += static_cast<std::size_t>(count);
    else if (wouldBlock(errno))
      return;
    else if (errno != EINTR)
      breakOff(errno);
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
  for (int i = 0; i < blocksPerPass && (interest() & POLLIN) != 0; ++i) {
    const ssize_t count = ::recv(mFd.get(), block.data(), block.size(), 0);
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
    const ssize_t count = ::recv(mFd.get(), block.data(), block.size(), 0);
    received(count);
    if (count < 0) break;
  }
}

void TcpStream::received(ssize_t result) {
  if (result == 0) mEnded = true;
  if (result < 0 && !wouldBlock(errno) && errno != EINTR) mError = errno;
}

bool TcpStream::mustLinger() const {
  if (!mFd || mError != 0) return false;
  if (mEnded) return unsent();
  return unsent() || unread() > 0 || queuedIn(mFd.get(), SIOCOUTQ) > 0 ||
         queuedIn(mFd.get(), FIONREAD) > 0;
}

void TcpStream::endSending() { ::shutdown(mFd.get(), SHUT_WR); }

}  // namespace cronvel
