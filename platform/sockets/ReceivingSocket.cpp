#include "platform/sockets/ReceivingSocket.h"

namespace cronvel {

void ReceivingSocket::fill() {
  if (mPlace.state == sckError) return;
  receive();
  mPlace.updateWatch();
}

std::int32_t ReceivingSocket::countWaiting() const {
  return waiting() ? static_cast<std::int32_t>(waitingBytes()) : 0;
}

std::int32_t ReceivingSocket::bytesReceived() {
  fill();
  if (unannounced() && !mPlace.dataCall.running()) mPlace.watch.callSoon();
  return countWaiting();
}

Bytes ReceivingSocket::take() {
  fill();
  if (!waiting()) return {};
  Bytes taken = takeWaiting();
  mTaken = true;
  mPlace.updateWatch();
  return taken;
}

bool ReceivingSocket::announce() {
  if (!waiting() || events() == nullptr || mPlace.dataCall.running()) return true;
  mAnnounced = arrivals();
  mTaken = false;
  {
    const CallOut::Scope scope(mPlace.dataCall);
    events()->DataArrival(mPlace.index, countWaiting());
  }
  if (!current()) return false;
  // A handler that takes bytes gets the rest at once; one that leaves them must not be asked
  // without a pause.
  if (waiting() && mTaken) mPlace.watch.callSoon();
  return true;
}

}  // namespace cronvel
