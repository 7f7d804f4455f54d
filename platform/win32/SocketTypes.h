#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

namespace cronvel {

using SocketHandle = SOCKET;
constexpr SocketHandle noSocket = INVALID_SOCKET;

}  // namespace cronvel
