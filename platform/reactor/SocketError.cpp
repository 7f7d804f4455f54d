#include "platform/reactor/SocketError.h"

#include "platform/reactor/SocketApi.h"

namespace cronvel {

SocketError SocketError::connection(int error, const std::string& peer) {
  const ErrorNumber number = socketErrorNumber(error);
  switch (number) {
    case ErrorNumber::connectionRefused:
      return {number, "nothing listens on " + peer};
    case ErrorNumber::connectionReset:
      return {number, peer + " broke the connection off"};
    case ErrorNumber::timedOut:
      return {number, peer + " does not answer; check its address, power and network cable"};
    case ErrorNumber::hostUnreachable:
    case ErrorNumber::networkUnreachable:
      return {number, "there is no way to " + peer + "; check the address and the network"};
    case ErrorNumber::addressNotAvailable:
      return {number, peer + " cannot be connected to from this machine"};
    default:
      return {number, "the connection to " + peer + " failed: " + socketErrorText(error)};
  }
}

SocketError SocketError::localPort(int error, int port) {
  const ErrorNumber number = socketErrorNumber(error);
  const std::string name = "port " + std::to_string(port);
  switch (number) {
    case ErrorNumber::addressInUse:
      return {number,
              name + " is used by another program; end that program or choose another port"};
    case ErrorNumber::permissionDenied:
      return {number, name + " may not be used; choose a port above 1023"};
    default:
      return {number, name + " cannot be used: " + socketErrorText(error)};
  }
}

}  // namespace cronvel
