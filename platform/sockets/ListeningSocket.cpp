#include "platform/sockets/ListeningSocket.h"

#include "platform/sockets/Inet.h"

namespace cronvel {

namespace {

constexpr auto outOfFilesPause = std::chrono::milliseconds(100);

OwnedSocket listenOn(std::int32_t port) {
  OwnedSocket socket = makeSocket(SocketKind::stream);
  const sockaddr_in address = inetAddress({}, port);
  if (socket) prepareListener(socket.get());
  if (!socket || ::bind(socket.get(), generic(&address), sizeof address) != 0 ||
      ::listen(socket.get(), SOMAXCONN) != 0)
    SocketError::localPort(lastSocketError(), port).raise();
  return socket;
}

}  // namespace

ListeningSocket::ListeningSocket(SocketPlace& place)
    : OpenSocket(place), mListener(listenOn(place.localPort)) {}

short ListeningSocket::interest() const {
  return mPlace.requestCall.running() ? short{0} : Poller::readable;
}

void ListeningSocket::pump(short /*found*/) {
  if (mPlace.requestCall.running()) return mPlace.updateWatch();
  SocketHub::Request request{};
  request.connection = acceptConnection(mListener.get(), request.peer);
  if (request.connection) return offer(std::move(request));
  if (!outOfFiles(lastSocketError())) return mPlace.updateWatch();
  mPlace.watch.detach();  // the request stays ready: look again when files may be free
  mPlace.watch.callAt(std::chrono::steady_clock::now() + outOfFilesPause);
}

void ListeningSocket::offer(SocketHub::Request request) {
  // However the event ends: a request that nobody took is dropped, and the next may come.
  const struct Finish {
    SocketPlace& place;
    std::int32_t id;
    ~Finish() {
      place.hub->requests.erase(id);
      place.updateWatch();
    }
  } finish{mPlace, mPlace.hub->offer(std::move(request))};
  const CallOut::Scope scope(mPlace.requestCall);
  mPlace.updateWatch();
  if (events() != nullptr) events()->ConnectionRequest(mPlace.index, finish.id);
}

}  // namespace cronvel
