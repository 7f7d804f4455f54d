#include "platform/system/SocketApi.h"

#include <ifaddrs.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace cronvel {

namespace {
int queued(int socket, unsigned long request) {
  int count = 0;
  return ioctl(socket, request, &count) == 0 ? count : 0;
}
}  // namespace

void closeSocket(SocketHandle socket) { ::close(socket); }

SocketLibrary::SocketLibrary() = default;
SocketLibrary::~SocketLibrary() = default;

OwnedSocket makeSocket(SocketKind kind) {
  const int type = kind == SocketKind::stream ? SOCK_STREAM : SOCK_DGRAM;
  return OwnedSocket(::socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

OwnedSocket acceptConnection(SocketHandle listener, sockaddr_in& peer) {
  socklen_t size = sizeof peer;
  return OwnedSocket(::accept4(listener, generic(&peer), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

void prepareListener(SocketHandle listener) { setOption(listener, SOL_SOCKET, SO_REUSEADDR, 1); }

int lastSocketError() { return errno; }
bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK; }
bool interrupted(int error) { return error == EINTR; }
bool connectUnderWay(int error) { return error == EINPROGRESS; }
bool outOfFiles(int error) { return error == EMFILE || error == ENFILE; }

std::string socketErrorText(int error) { return std::strerror(error); }

std::ptrdiff_t sendSome(SocketHandle socket, std::span<const std::uint8_t> bytes) {
  return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::ptrdiff_t sendDatagram(SocketHandle socket, std::span<const std::uint8_t> bytes,
                            const sockaddr_in& peer) {
  return ::sendto(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL, generic(&peer), sizeof peer);
}

std::ptrdiff_t receiveSome(SocketHandle socket, std::span<std::uint8_t> room) {
  return ::recv(socket, room.data(), room.size(), 0);
}

std::ptrdiff_t receiveDatagram(SocketHandle socket, std::span<std::uint8_t> room,
                               sockaddr_in& sender) {
  socklen_t size = sizeof sender;
  return ::recvfrom(socket, room.data(), room.size(), 0, generic(&sender), &size);
}

int connectFailure(SocketHandle socket) {
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

bool unreadInside(SocketHandle socket) { return queued(socket, FIONREAD) > 0; }
bool undelivered(SocketHandle socket, bool /*everSent*/) { return queued(socket, SIOCOUTQ) > 0; }
void endSending(SocketHandle socket) { ::shutdown(socket, SHUT_WR); }

void waitWritable(SocketHandle socket, int milliseconds) {
  pollfd writable{socket, POLLOUT, 0};
  poll(&writable, 1, milliseconds);
}

in_addr localInetAddress() {
  in_addr found{htonl(INADDR_LOOPBACK)};
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return found;
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET) continue;
    if ((each->ifa_flags & IFF_LOOPBACK) != 0 || (each->ifa_flags & IFF_UP) == 0) continue;
    found = reinterpret_cast<const sockaddr_in*>(each->ifa_addr)->sin_addr;
    break;
  }
  freeifaddrs(list);
  return found;
}

std::string lookUpProblem(int error) {
  return error == EAI_AGAIN ? "the name server does not answer" : gai_strerror(error);
}

void runDetached(std::function<void()> work) { std::thread(std::move(work)).detach(); }

}  // namespace cronvel
