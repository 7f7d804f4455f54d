#pragma once

// The one place where what sockets are called differs by system.

#ifdef _WIN32

#include <winsock2.h>
#include <ws2tcpip.h>

/// The system's number for an error, by the name that POSIX has for it.
#define CRONVEL_SOCKET_CODE(name) WSA##name

namespace cronvel {

using SocketHandle = SOCKET;
constexpr SocketHandle noSocket = INVALID_SOCKET;

}  // namespace cronvel

#else

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#define CRONVEL_SOCKET_CODE(name) name

namespace cronvel {

using SocketHandle = int;
constexpr SocketHandle noSocket = -1;

}  // namespace cronvel

#endif
