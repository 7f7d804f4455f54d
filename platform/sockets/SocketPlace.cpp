#include "platform/sockets/SocketPlace.h"

#include <limits>

#include "runtime/Text.h"

namespace cronvel {

std::int32_t SocketHub::offer(Request request) {
  const std::int32_t id = nextRequest;
  nextRequest = id == std::numeric_limits<std::int32_t>::max() ? 1 : id + 1;
  requests[id] = std::move(request);
  return id;
}

std::string SocketPlace::host() const {
  const std::string text = toUtf8(remoteHost);
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "there is no remote host; set a name or an address");
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

RunTimeError SocketPlace::notConnected() const {
  return RunTimeError(ErrorNumber::wrongConnectionState, "socket " + std::to_string(index) +
                                                             " is not connected (state " +
                                                             std::to_string(state) + ")");
}

SocketError SocketPlace::hostNotFound(const std::string& problem) const {
  return {ErrorNumber::hostNotFound, "the name " + toUtf8(remoteHost) + " has no address (" +
                                         problem + "); check its spelling"};
}

void SocketPlace::put(std::shared_ptr<OpenSocket> newSocket, std::int16_t newState) {
  socket = std::move(newSocket);
  state = newState;
  updateWatch();
}

void SocketPlace::close() {
  if (state == sckClosed) return;
  state = sckClosed;
  failure.reset();
  watch.detach();
  watch.cancelCall();
  watch.callEachPass(false);
  std::exchange(socket, nullptr)->close();
}

void SocketPlace::updateWatch() {
  const bool open = socket && state != sckError;
  if (open && !failure)
    watch.attach(watchHandle(socket->handle()), socket->interest());
  else
    watch.detach();
  watch.callEachPass(open && socket->callEachPass());
}

void SocketPlace::pump(short found) {
  const auto kept = socket;
  if (failure)
    fail(*std::exchange(failure, {}));
  else if (kept && state != sckError)
    kept->pump(found);
}

void SocketPlace::failLater(SocketError error) {
  failure = std::move(error);
  watch.detach();
  watch.callSoon();
}

void SocketPlace::fail(const SocketError& error) {
  state = sckError;
  updateWatch();
  socket->abandon();
  if (hub->events == nullptr) return;
  constexpr std::uint32_t facility = 0x800A0000;
  const auto number = static_cast<std::int16_t>(error.number);
  std::u16string description = toUtf16(RunTimeError(error.number, error.detail).what());
  bool cancelDisplay = false;
  hub->events->Error(index, number, description,
                     static_cast<std::int32_t>(facility + static_cast<std::uint16_t>(number)),
                     u"Socket", u"", 0, cancelDisplay);
}

}  // namespace cronvel
