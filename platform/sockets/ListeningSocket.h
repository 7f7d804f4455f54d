#pragma once

#include "platform/sockets/SocketPlace.h"

namespace cronvel {

/// Waits for peers and offers each one's connection to the handler of the request event.
class ListeningSocket : public OpenSocket {
 public:
  /// Raises 10048 and the like.
  explicit ListeningSocket(SocketPlace& place);

  SocketHandle handle() const override { return mListener.get(); }
  short interest() const override;
  void pump(short found) override;
  void abandon() override { mListener.reset(); }

 private:
  void offer(SocketHub::Request request);

  OwnedSocket mListener;
};

}  // namespace cronvel
