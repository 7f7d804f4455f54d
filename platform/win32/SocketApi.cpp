#include "platform/system/SocketApi.h"

#include <iphlpapi.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <system_error>
#include <vector>

#include "platform/win32/Module.h"

namespace cronvel {

namespace {

/// Missing in some headers.
constexpr DWORD reportUnreachablePeers = _WSAIOW(IOC_VENDOR, 12);

int lengthOf(std::size_t size) {
  return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

OwnedSocket withoutWaiting(OwnedSocket socket) {
  u_long on = 1;
  if (socket) ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &on);
  return socket;
}

}  // namespace

void closeSocket(SocketHandle socket) { ::closesocket(socket); }

SocketLibrary::SocketLibrary() {
  WSADATA data{};
  WSAStartup(MAKEWORD(2, 2), &data);
}

SocketLibrary::~SocketLibrary() { WSACleanup(); }

OwnedSocket makeSocket(SocketKind kind) {
  const int type = kind == SocketKind::stream ? SOCK_STREAM : SOCK_DGRAM;
  OwnedSocket socket =
      withoutWaiting(OwnedSocket(::WSASocketW(AF_INET, type, 0, nullptr, 0, WSA_FLAG_OVERLAPPED)));
  if (socket && kind == SocketKind::datagram) {
    // Otherwise a peer that is not there makes the next receiving fail.
    BOOL off = FALSE;
    DWORD size = 0;
    WSAIoctl(socket.get(), reportUnreachablePeers, &off, sizeof off, nullptr, 0, &size, nullptr,
             nullptr);
  }
  return socket;
}

OwnedSocket acceptConnection(SocketHandle listener, sockaddr_in& peer) {
  socklen_t size = sizeof peer;
  return withoutWaiting(OwnedSocket(::accept(listener, generic(&peer), &size)));
}

/// As it comes it is right here: connections of the past keep no port busy, and SO_REUSEADDR would
/// let two programs share one.
void prepareListener(SocketHandle /*listener*/) {}

int lastSocketError() { return WSAGetLastError(); }
bool wouldBlock(int error) { return error == WSAEWOULDBLOCK; }
bool interrupted(int error) { return error == WSAEINTR; }
bool connectUnderWay(int error) { return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS; }
bool outOfFiles(int error) { return error == WSAEMFILE || error == WSAENOBUFS; }

std::string socketErrorText(int error) { return systemErrorText(static_cast<DWORD>(error)); }

std::ptrdiff_t sendSome(SocketHandle socket, std::span<const std::uint8_t> bytes) {
  return ::send(socket, reinterpret_cast<const char*>(bytes.data()), lengthOf(bytes.size()), 0);
}

std::ptrdiff_t sendDatagram(SocketHandle socket, std::span<const std::uint8_t> bytes,
                            const sockaddr_in& peer) {
  return ::sendto(socket, reinterpret_cast<const char*>(bytes.data()), lengthOf(bytes.size()), 0,
                  generic(&peer), sizeof peer);
}

std::ptrdiff_t receiveSome(SocketHandle socket, std::span<std::uint8_t> room) {
  return ::recv(socket, reinterpret_cast<char*>(room.data()), lengthOf(room.size()), 0);
}

std::ptrdiff_t receiveDatagram(SocketHandle socket, std::span<std::uint8_t> room,
                               sockaddr_in& sender) {
  socklen_t size = sizeof sender;
  return ::recvfrom(socket, reinterpret_cast<char*>(room.data()), lengthOf(room.size()), 0,
                    generic(&sender), &size);
}

int connectFailure(SocketHandle socket) {
  int error = 0;
  int size = sizeof error;
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0
             ? error
             : WSAGetLastError();
}

bool unreadInside(SocketHandle socket) {
  u_long count = 0;
  return ioctlsocket(socket, FIONREAD, &count) == 0 && count > 0;
}

bool undelivered(SocketHandle /*socket*/, bool everSent) { return everSent; }
void endSending(SocketHandle socket) { ::shutdown(socket, SD_SEND); }

void waitWritable(SocketHandle socket, int milliseconds) {
  fd_set writable{};
  writable.fd_count = 1;
  writable.fd_array[0] = socket;
  timeval wait{milliseconds / 1000, milliseconds % 1000 * 1000};
  select(0, nullptr, &writable, nullptr, &wait);
}

in_addr localInetAddress() {
  in_addr found{};
  found.s_addr = htonl(INADDR_LOOPBACK);
  constexpr ULONG flags =
      GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
  ULONG size = 16384;
  std::vector<std::max_align_t> room;
  const auto list = [&] { return reinterpret_cast<IP_ADAPTER_ADDRESSES*>(room.data()); };
  ULONG result = ERROR_BUFFER_OVERFLOW;
  for (int attempt = 0; attempt < 3 && result == ERROR_BUFFER_OVERFLOW; ++attempt) {
    room.resize(size / sizeof(std::max_align_t) + 1);
    result = GetAdaptersAddresses(AF_INET, flags, nullptr, list(), &size);
  }
  if (result != NO_ERROR) return found;
  for (const auto* each = list(); each != nullptr; each = each->Next) {
    if (each->IfType == IF_TYPE_SOFTWARE_LOOPBACK || each->OperStatus != IfOperStatusUp) continue;
    if (each->FirstUnicastAddress == nullptr) continue;
    const auto* address = each->FirstUnicastAddress->Address.lpSockaddr;
    return reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
  }
  return found;
}

std::string lookUpProblem(int error) {
  return error == WSATRY_AGAIN ? "the name server does not answer"
                               : systemErrorText(static_cast<DWORD>(error));
}

namespace {

struct DetachedWork {
  std::function<void()> work;
  HMODULE module;
};

/// The thread keeps the module that it runs in loaded, and lets go of it as its very last step.
DWORD WINAPI runAndLeave(void* parameter) {
  HMODULE module = nullptr;
  {
    const std::unique_ptr<DetachedWork> own(static_cast<DetachedWork*>(parameter));
    module = own->module;
    const SocketLibrary library;
    own->work();
  }
  FreeLibraryAndExitThread(module, 0);
}

}  // namespace

void runDetached(std::function<void()> work) {
  auto own = std::make_unique<DetachedWork>(DetachedWork{std::move(work), keepThisModule()});
  const HANDLE thread = CreateThread(nullptr, 0, runAndLeave, own.get(), 0, nullptr);
  if (thread == nullptr) {
    const auto error = static_cast<int>(GetLastError());
    FreeLibrary(own->module);
    throw std::system_error(error, std::system_category());
  }
  static_cast<void>(own.release());  // the thread has it now
  CloseHandle(thread);
}

}  // namespace cronvel
