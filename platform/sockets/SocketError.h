#pragma once

#include <string>

#include "runtime/RunTimeError.h"

namespace cronvel {

/// A socket's failure, to be raised or reported by its error event.
struct SocketError {
  ErrorNumber number;
  std::string detail;

  /// Of a TCP connection to `peer` ("10.0.0.5 port 8085"), from a `lastSocketError`.
  static SocketError connection(int error, const std::string& peer);
  /// Of using `port` of this machine, from a `lastSocketError`.
  static SocketError localPort(int error, int port);

  [[noreturn]] void raise() const { throw RunTimeError(number, detail); }
};

}  // namespace cronvel
