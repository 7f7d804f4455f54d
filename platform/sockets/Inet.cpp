#include "platform/sockets/Inet.h"

#include <array>

namespace cronvel {

sockaddr_in inetAddress(in_addr host, std::int32_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr = host;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

std::string dotted(in_addr host) {
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &host, text.data(), text.size());
  return text.data();
}

std::string describe(const sockaddr_in& address) {
  return dotted(address.sin_addr) + " port " + std::to_string(ntohs(address.sin_port));
}

std::int32_t boundPort(SocketHandle socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  return getsockname(socket, generic(&address), &size) == 0 ? ntohs(address.sin_port) : 0;
}

std::string localAddress() { return dotted(localInetAddress()); }

}  // namespace cronvel
