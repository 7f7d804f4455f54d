#include "link/NetworkLink.h"

#include <utility>

namespace cronvel {
namespace {

/// No socket has this state, so the first look after creation always reports.
constexpr std::int16_t noStateYet = -5555;
constexpr std::int32_t stateInterval = 100;

}  // namespace

NetworkLink::NetworkLink(Platform& platform, __Cronvel& events)
    : mEvents(events),
      mPump(platform.messagePump()),
      sokWinSock(platform.makeSocketArray()),
      tmrWinSockCurrentState(platform.makeTimer()),
      mLastSocketState(noStateYet) {
  WinSockRemoteHost = sokWinSock->at(0).LocalIP();
  sokWinSock->setEvents(this);
  tmrWinSockCurrentState->Interval(stateInterval);
  tmrWinSockCurrentState->onTimer([this] { reportState(); });
  tmrWinSockCurrentState->Enabled(true);
}

void NetworkLink::SetWinSockTCPMode(std::int16_t Index) {
  Socket& socket = closedSocket(Index);
  socket.LocalPort(WinSockLocalPort);
  socket.Protocol(WinSockProtocol);
}

void NetworkLink::SetWinSockUDPMode(std::int16_t Index) {
  SetWinSockTCPMode(Index);
  Socket& socket = sokWinSock->at(Index);
  socket.RemoteHost(WinSockRemoteHost);
  socket.RemotePort(WinSockRemotePort);
}

void NetworkLink::SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort) {
  closedSocket(Index).LocalPort(lLocalPort);
}

void NetworkLink::WinSockListen(std::int16_t Index) {
  pump();
  sokWinSock->at(Index).Listen();
  pump();
}

void NetworkLink::WinSockSendData(std::int16_t Index, const Bytes& TransmitedData) {
  pump();
  sokWinSock->at(Index).SendData(TransmitedData);
  pump();
}

void NetworkLink::WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData) {
  WinSockSendData(Index, {TransmitedData});
}

void NetworkLink::WinSockConnect(std::int16_t Index) {
  closedSocket(Index).Connect();
  pump();
}

void NetworkLink::WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost) {
  closedSocket(Index).Connect(RemoteHost);
  pump();
}

void NetworkLink::WinSockClose(std::int16_t Index) {
  pump();
  sokWinSock->at(Index).Close();
  pump();
}

std::optional<Bytes> NetworkLink::takeArrival() {
  if (!mDataArrived) return std::nullopt;
  mDataArrived = false;
  return mReceivedData;
}

void NetworkLink::closeIfOpen(std::int16_t Index) {
  Socket& socket = sokWinSock->at(Index);
  if (socket.State() != sckClosed) socket.Close();
}

Socket& NetworkLink::closedSocket(std::int16_t Index) {
  closeIfOpen(Index);
  pump();
  return sokWinSock->at(Index);
}

void NetworkLink::ConnectionRequest(std::int16_t Index, std::int32_t requestID) {
  // The socket that listened takes the connection; a new request drops the current one.
  closedSocket(Index).Accept(requestID);
}

void NetworkLink::DataArrival(std::int16_t Index, std::int32_t bytesTotal) {
  if (mDirectRead) return;
  Bytes bytes = sokWinSock->at(Index).GetData();
  mReceivedData = bytes;
  mDataArrived = true;
  pump();
  pump();
  std::u16string host;
  std::u16string address;
  if (sokWinSock->exists(Index)) {  // what ran in the pump may have unloaded it
    host = sokWinSock->at(Index).RemoteHost();
    address = sokWinSock->at(Index).RemoteHostIP();
  }
  std::int16_t loopCounter = 0;
  std::int32_t functionCallCounter = 0;
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
  const std::int16_t state = sokWinSock->at(0).State();
  if (state == mLastSocketState) return;
  mLastSocketState = state;
  mEvents.WinSockCurrentState(state);
  pump();
}

}  // namespace cronvel
