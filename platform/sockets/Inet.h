#pragma once

#include <cstdint>
#include <string>

#include "platform/system/SocketApi.h"

namespace cronvel {

sockaddr_in inetAddress(in_addr host, std::int32_t port);
std::string dotted(in_addr host);
/// "10.0.0.5 port 8085"
std::string describe(const sockaddr_in& address);
/// The port that a bound socket really uses.
std::int32_t boundPort(SocketHandle socket);
/// This machine's first address other than loopback, else loopback.
std::string localAddress();

}  // namespace cronvel
