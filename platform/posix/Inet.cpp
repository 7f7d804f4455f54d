#include "platform/posix/Inet.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

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

std::int32_t boundPort(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  return getsockname(fd, generic(&address), &size) == 0 ? ntohs(address.sin_port) : 0;
}

std::string localAddress() {
  std::string found = "127.0.0.1";
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return found;
  for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
    if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET) continue;
    if ((each->ifa_flags & IFF_LOOPBACK) != 0 || (each->ifa_flags & IFF_UP) == 0) continue;
    found = dotted(reinterpret_cast<const sockaddr_in*>(each->ifa_addr)->sin_addr);
    break;
  }
  freeifaddrs(list);
  return found;
}

}  // namespace cronvel
