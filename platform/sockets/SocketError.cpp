#include "platform/sockets/SocketError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "platform/system/SocketApi.h"

namespace cronvel {
namespace {

/// An error that is more than "connection aborted". Texts are empty where the system's own serves;
/// "#" stands for what failed.
struct KnownError {
  ErrorNumber number;
  std::array<int, 4> codes;      ///< the system's; 0 for none
  std::string_view ofPeer = {};  ///< "10.0.0.5 port 8085"
  std::string_view ofPort = {};  ///< "port 8085", of this machine
};

constexpr std::string_view noWay = "there is no way to #; check the address and the network";

#define CODE CRONVEL_SOCKET_CODE  // a plain name is one that Windows' sockets do not have
constexpr KnownError knownErrors[] = {
    {ErrorNumber::addressInUse,
     {CODE(EADDRINUSE)},
     "",
     "# is used by another program; end that program or choose another port"},
    {ErrorNumber::permissionDenied,
     {CODE(EACCES), EPERM},
     "",
     "# may not be used; choose a port above 1023"},
    {ErrorNumber::tooManyFiles,
     {CODE(EMFILE), ENFILE},
     "there is no free file number for a connection to #; raise the limit of open files",
     "there is no free file number to listen on #; raise the limit of open files"},
    {ErrorNumber::connectionRefused, {CODE(ECONNREFUSED)}, "nothing listens on #"},
    {ErrorNumber::connectionReset,
     {CODE(ECONNRESET), CODE(ENETRESET), CODE(ESHUTDOWN), EPIPE},
     "# broke the connection off"},
    {ErrorNumber::timedOut,
     {CODE(ETIMEDOUT)},
     "# does not answer; check its address, power and network cable"},
    {ErrorNumber::hostUnreachable, {CODE(EHOSTUNREACH), CODE(EHOSTDOWN)}, noWay},
    {ErrorNumber::networkUnreachable, {CODE(ENETUNREACH), CODE(ENETDOWN)}, noWay},
    {ErrorNumber::addressNotAvailable,
     {CODE(EADDRNOTAVAIL)},
     "# cannot be connected to from this machine"},
};
#undef CODE

KnownError known(int error) {
  for (const KnownError& each : knownErrors)
    if (error != 0 && std::ranges::count(each.codes, error) != 0) return each;
  return {ErrorNumber::connectionAborted, {}};
}

std::string about(const std::string& what, std::string_view text) {
  std::string sentence(text);
  return sentence.replace(sentence.find('#'), 1, what);
}

}  // namespace

SocketError SocketError::connection(int error, const std::string& peer) {
  const KnownError is = known(error);
  if (is.ofPeer.empty())
    return {is.number, "the connection to " + peer + " failed: " + socketErrorText(error)};
  return {is.number, about(peer, is.ofPeer)};
}

SocketError SocketError::localPort(int error, int port) {
  const KnownError is = known(error);
  const std::string name = "port " + std::to_string(port);
  if (is.ofPort.empty()) return {is.number, name + " cannot be used: " + socketErrorText(error)};
  return {is.number, about(name, is.ofPort)};
}

}  // namespace cronvel
