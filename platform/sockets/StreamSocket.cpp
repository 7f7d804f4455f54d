#include "platform/sockets/StreamSocket.h"

#include "platform/sockets/Inet.h"

namespace cronvel {

bool StreamSocket::callEachPass() const {
  const bool atEnd = mStream.ended() || mStream.error() != 0;
  return waiting() || (mPlace.state == sckConnected && atEnd);
}

void StreamSocket::sendWaiting() {
  mStream.flush();
  if (mUnreported > 0) mPlace.watch.callSoon();  // for the events of sending, or of its failure
  mPlace.updateWatch();
}

void StreamSocket::send(std::span<const std::uint8_t> bytes) {
  if (mPlace.state != sckConnected) throw mPlace.notConnected();
  mStream.send(bytes);
  mUnreported += bytes.size();
  sendWaiting();
}

/// Moves bytes both ways, then tells what happened, in the order in which it can be understood.
void StreamSocket::pump(short found) {
  mStream.flush();
  if (found != 0) fill();
  mPlace.updateWatch();
  if (reportSent() && announce()) reportEnd();
}

/// Like `announce`, false when the handler made this socket an earlier one.
bool StreamSocket::reportSent() {
  if (mUnreported == 0 || events() == nullptr) return true;
  const auto left = mStream.unsentCount();
  if (mStream.error() != 0 || left >= mUnreported) return true;
  const auto sent = mUnreported - left;
  mUnreported = left;
  events()->SendProgress(mPlace.index, static_cast<std::int32_t>(sent),
                         static_cast<std::int32_t>(left));
  if (current() && left == 0 && events() != nullptr) events()->SendComplete(mPlace.index);
  return current();
}

void StreamSocket::reportEnd() {
  if (unannounced() && events() != nullptr) return;
  if (mStream.error() != 0)
    return mPlace.fail(SocketError::connection(mStream.error(), describe(*mPlace.peer)));
  if (!mStream.ended() || mPlace.state != sckConnected) return;
  mPlace.state = sckClosing;
  mPlace.updateWatch();
  if (events() != nullptr) events()->Close(mPlace.index);
}

}  // namespace cronvel
