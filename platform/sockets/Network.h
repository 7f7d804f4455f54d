#pragma once

#include <memory>

#include "platform/Socket.h"
#include "platform/sockets/Resolver.h"
#include "platform/sockets/SocketCloser.h"

namespace cronvel {

/// What the sockets of a platform share.
class Network {
 public:
  explicit Network(Reactor& reactorToUse)
      : reactor(reactorToUse), resolver(reactorToUse), closer(reactorToUse) {}
  Reactor& reactor;
  Resolver resolver;
  SocketCloser closer;
};

std::unique_ptr<SocketArray> makeSocketArray(Network& network);

}  // namespace cronvel
