#include "platform/sockets/ConnectingSocket.h"

#include "platform/sockets/Inet.h"
#include "platform/sockets/StreamSocket.h"

namespace cronvel {

void ConnectingSocket::start(const std::string& host) {
  const Resolver::Answer numeric{Resolver::numeric(host), {}};
  if (!numeric.addresses.empty()) return resolved(numeric);
  // The query ends with this socket.
  mQuery = mPlace.network.resolver.resolve(
      host, [this](const Resolver::Answer& answer) { resolved(answer); });
}

void ConnectingSocket::resolved(const Resolver::Answer& answer) {
  if (answer.addresses.empty()) return mPlace.failLater(mPlace.hostNotFound(answer.problem));
  mCandidates.assign(answer.addresses.rbegin(), answer.addresses.rend());
  mPlace.state = sckConnecting;
  connectNext();
}

/// Tries the next address; the last one's failure is the connection's.
void ConnectingSocket::connectNext() {
  int error = 0;
  while (!mCandidates.empty()) {
    mPlace.peer = inetAddress(mCandidates.back(), mPlace.remotePort);
    mCandidates.pop_back();
    if (mStream) mEarly = mStream->takeUnsent();
    mPlace.watch.detach();
    mStream.emplace(*mPlace.peer);
    mStream->send(std::exchange(mEarly, {}));
    error = mStream->error();
    if (error == 0) return mPlace.updateWatch();
  }
  if (error == 0) error = mStream->error();
  mPlace.failLater(SocketError::connection(error, describe(*mPlace.peer)));
}

void ConnectingSocket::pump(short found) {
  if (found == 0 || !mStream) return;
  if (!mStream->finishConnect()) return connectNext();
  auto stream = std::make_shared<StreamSocket>(mPlace, std::move(*mStream));
  mPlace.put(stream, sckConnected);
  stream->sendWaiting();
  if (events() != nullptr) events()->Connect(mPlace.index);
}

void ConnectingSocket::send(std::span<const std::uint8_t> bytes) {
  if (mPlace.state == sckError) throw mPlace.notConnected();
  if (mStream)
    mStream->send(bytes);
  else
    mEarly.insert(mEarly.end(), bytes.begin(), bytes.end());
}

void ConnectingSocket::abandon() {
  mQuery = {};
  if (mStream) mStream->close();
}

void ConnectingSocket::close() {
  mQuery = {};
  if (mStream) mPlace.network.closer.take(std::move(*mStream));
}

}  // namespace cronvel
