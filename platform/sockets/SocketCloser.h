#pragma once

#include <list>

#include "platform/reactor/Reactor.h"
#include "platform/sockets/TcpStream.h"

namespace cronvel {

/// Ends connections in order after their owner has let go of them: sends what is queued, says so,
/// and drops input until the peer has ended too, for some seconds at most.
class SocketCloser {
 public:
  explicit SocketCloser(Reactor& reactor);
  ~SocketCloser();
  void take(TcpStream stream);

 private:
  struct Lingering;
  using Entry = std::list<Lingering>::iterator;
  void service(Entry entry);

  Reactor& mReactor;
  std::list<Lingering> mLingering;
};

}  // namespace cronvel
