#pragma once

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace cronvel {

using SocketHandle = int;
constexpr SocketHandle noSocket = -1;

}  // namespace cronvel
