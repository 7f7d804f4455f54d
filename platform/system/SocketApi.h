#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>

#include "platform/reactor/Poller.h"
#include "platform/system/SocketTypes.h"

/// What sockets need of the system and each system spells in its own way. Calls that fail leave the
/// reason in `lastSocketError`.
namespace cronvel {

void closeSocket(SocketHandle socket);

/// Owns a socket.
class OwnedSocket {
 public:
  OwnedSocket() = default;
  explicit OwnedSocket(SocketHandle socket) : mSocket(socket) {}
  OwnedSocket(OwnedSocket&& other) noexcept : mSocket(std::exchange(other.mSocket, noSocket)) {}
  OwnedSocket& operator=(OwnedSocket&& other) noexcept {
    if (this != &other) {
      reset();
      mSocket = std::exchange(other.mSocket, noSocket);
    }
    return *this;
  }
  ~OwnedSocket() { reset(); }

  SocketHandle get() const { return mSocket; }
  explicit operator bool() const { return mSocket != noSocket; }
  void reset() {
    if (mSocket != noSocket) closeSocket(std::exchange(mSocket, noSocket));
  }

 private:
  SocketHandle mSocket = noSocket;
};

inline Poller::Handle watchHandle(SocketHandle socket) {
  return static_cast<Poller::Handle>(socket);
}

/// The socket calls take every kind of address through one pointer type.
inline sockaddr* generic(sockaddr_in* address) { return reinterpret_cast<sockaddr*>(address); }
inline const sockaddr* generic(const sockaddr_in* address) {
  return reinterpret_cast<const sockaddr*>(address);
}

/// Keeps the system's sockets usable while it lives.
class SocketLibrary {
 public:
  SocketLibrary();
  ~SocketLibrary();  // NOLINT(performance-trivially-destructible): Windows has something to do
  SocketLibrary(const SocketLibrary&) = delete;
  SocketLibrary& operator=(const SocketLibrary&) = delete;
};

enum class SocketKind { stream, datagram };

/// A socket that never waits and that no child process inherits.
OwnedSocket makeSocket(SocketKind kind);
/// The same for the connection that waits at a listener.
OwnedSocket acceptConnection(SocketHandle listener, sockaddr_in& peer);
/// What a listener is set to before it is bound: the remains of earlier connections must not keep
/// its port busy, another program's listener must.
void prepareListener(SocketHandle listener);

int lastSocketError();
/// A call that does not wait had nothing to do.
bool wouldBlock(int error);
/// A signal came first.
bool interrupted(int error);
bool connectUnderWay(int error);
bool outOfFiles(int error);
std::string socketErrorText(int error);

template <typename Value>
void setOption(SocketHandle socket, int level, int name, const Value& value) {
#ifdef _WIN32
  ::setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value);
#else
  ::setsockopt(socket, level, name, &value, sizeof value);
#endif
}

/// Bytes moved, else -1. Receiving gives 0 at the peer's end.
std::ptrdiff_t sendSome(SocketHandle socket, std::span<const std::uint8_t> bytes);
std::ptrdiff_t sendDatagram(SocketHandle socket, std::span<const std::uint8_t> bytes,
                            const sockaddr_in& peer);
std::ptrdiff_t receiveSome(SocketHandle socket, std::span<std::uint8_t> room);
std::ptrdiff_t receiveDatagram(SocketHandle socket, std::span<std::uint8_t> room,
                               sockaddr_in& sender);

/// The failure of connecting, or 0.
int connectFailure(SocketHandle socket);
bool unreadInside(SocketHandle socket);
/// Whether bytes may still be on their way to the peer. `everSent`: whether any were sent, for a
/// system that cannot tell.
bool undelivered(SocketHandle socket, bool everSent);
void endSending(SocketHandle socket);
void waitWritable(SocketHandle socket, int milliseconds);

/// This machine's first address other than loopback, else loopback.
in_addr localInetAddress();
/// Why a name has no address, from what getaddrinfo returned.
std::string lookUpProblem(int error);
/// Runs work on a thread of its own that nobody waits for and that the system stops at the end of
/// the program. The code stays loaded for it. Raises `std::system_error`.
void runDetached(std::function<void()> work);

}  // namespace cronvel
