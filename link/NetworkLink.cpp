#include "link/NetworkLink.h"

namespace cronvel {
namespace {

/// No socket has this state, so the first look after creation always reports.
constexpr std::int16_t noStateYet = -5555;
constexpr std::int32_t stateInterval = 100;

}  // namespace

NetworkLink::NetworkLink(Platform& platform, Host& host, SocketMembers& members)
    : mEvents(host.events),
      mMembers(members),
      tmrWinSockCurrentState(platform.makeTimer()),
      mLastSocketState(noStateYet) {
  sockets().setEvents(this);
  tmrWinSockCurrentState->Interval(stateInterval);
  tmrWinSockCurrentState->onTimer([this] { reportState(); });
  tmrWinSockCurrentState->Enabled(true);
}

void NetworkLink::forgetEarlierArrival() {
  if (mSentBefore < mMembers.mSent) mDataArrived = false;
}

std::optional<Bytes> NetworkLink::takeArrival() {
  if (!mDataArrived) return std::nullopt;
  mDataArrived = false;
  return mReceivedData;
}

std::optional<Bytes> NetworkLink::Stream::take() {
  if (mBlocks.empty()) return std::nullopt;
  Bytes block = std::move(mBlocks.front());
  mBlocks.pop_front();
  return block;
}

/// A stream takes its own socket's bytes, and no others: they would be missing from both.
void NetworkLink::keep(std::int16_t Index, const Bytes& bytes) {
  for (Stream* const stream : mStreams) {
    if (stream->index() != Index) continue;
    stream->mBlocks.push_back(bytes);
    return;
  }
  mReceivedData = bytes;
  mDataArrived = true;
  mSentBefore = mMembers.mSent;
}

void NetworkLink::ConnectionRequest(std::int16_t Index, std::int32_t requestID) {
  // The socket that listened takes the connection; a new request drops the current one.
  mMembers.closedSocket(Index).Accept(requestID);
}

void NetworkLink::DataArrival(std::int16_t Index, std::int32_t bytesTotal) {
  if (mDirectReads > 0) return;
  Bytes bytes = sockets().at(Index).GetData();
  keep(Index, bytes);
  pump();
  pump();
  std::u16string host;
  std::u16string address;
  if (sockets().exists(Index)) {  // what ran in the pump may have unloaded it
    host = sockets().at(Index).RemoteHost();
    address = sockets().at(Index).RemoteHostIP();
  }
  std::int16_t loopCounter = 0;
  std::int32_t functionCallCounter = 0;
  mArrivalIndex = Index;
  mEvents.WinSockDataReceived(bytes, bytesTotal, host, address, loopCounter, functionCallCounter);
  pump();
}

void NetworkLink::Error(std::int16_t /*Index*/, std::int16_t Number, std::u16string& Description,
                        std::int32_t Scode, const std::u16string& Source,
                        const std::u16string& HelpFile, std::int32_t HelpContext,
                        bool& CancelDisplay) {
  mEvents.WinSockError(Number, Description, Scode, Source, HelpFile, HelpContext, CancelDisplay);
  pump();
  CancelDisplay = true;  // the host has been told; no message box of the socket's own
}

void NetworkLink::reportState() {
  pump();
  const std::int16_t state = sockets().at(0).State();
  if (state == mLastSocketState) return;
  mLastSocketState = state;
  mEvents.WinSockCurrentState(state);
  pump();
}

}  // namespace cronvel
