#include "platform/posix/SocketError.h"

#include <cerrno>
#include <cstring>

namespace cronvel {

ErrorNumber socketErrorNumber(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
      return ErrorNumber::permissionDenied;
    case EADDRINUSE:
      return ErrorNumber::addressInUse;
    case EADDRNOTAVAIL:
      return ErrorNumber::addressNotAvailable;
    case ENETUNREACH:
    case ENETDOWN:
      return ErrorNumber::networkUnreachable;
    case ECONNRESET:
    case EPIPE:
      return ErrorNumber::connectionReset;
    case ETIMEDOUT:
      return ErrorNumber::timedOut;
    case ECONNREFUSED:
      return ErrorNumber::connectionRefused;
    case EHOSTUNREACH:
    case EHOSTDOWN:
      return ErrorNumber::hostUnreachable;
    case EMFILE:
    case ENFILE:
      return ErrorNumber::tooManyFiles;
    default:
      return ErrorNumber::connectionAborted;
  }
}

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
      return {number, "the connection to " + peer + " failed: " + std::strerror(error)};
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
      return {number, name + " cannot be used: " + std::strerror(error)};
  }
}

}  // namespace cronvel
