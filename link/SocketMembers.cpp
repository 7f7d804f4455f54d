#include "link/SocketMembers.h"

namespace cronvel {

SocketMembers::SocketMembers(Platform& platform, Host& host)
    : mHost(host),
      mPump(platform.messagePump()),
      sokWinSock(platform.makeSocketArray()),
      mRemoteHost(sokWinSock->at(0).LocalIP()) {}

void SocketMembers::WinSockProtocol(std::int16_t New_WinSockProtocol) {
  mHost.setInRunMode(mProtocol, New_WinSockProtocol, "WinSockProtocol");
}

void SocketMembers::WinSockLocalPort(std::int32_t New_WinSockLocalPort) {
  mHost.setInRunMode(mLocalPort, New_WinSockLocalPort, "WinSockLocalPort");
}

void SocketMembers::WinSockRemotePort(std::int32_t New_WinSockRemotePort) {
  mHost.setInRunMode(mRemotePort, New_WinSockRemotePort, "WinSockRemotePort");
}

void SocketMembers::WinSockRemoteHost(const std::u16string& New_WinSockRemoteHost) {
  mHost.setInRunMode(mRemoteHost, New_WinSockRemoteHost, "WinSockRemoteHost");
}

void SocketMembers::SetWinSockTCPMode(std::int16_t Index) {
  Socket& socket = closedSocket(Index);
  socket.LocalPort(mLocalPort);
  socket.Protocol(mProtocol);
}

void SocketMembers::SetWinSockUDPMode(std::int16_t Index) {
  SetWinSockTCPMode(Index);
  Socket& socket = sokWinSock->at(Index);
  socket.RemoteHost(mRemoteHost);
  socket.RemotePort(mRemotePort);
}

void SocketMembers::SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort) {
  closedSocket(Index).LocalPort(lLocalPort);
}

void SocketMembers::WinSockListen(std::int16_t Index) {
  pump();
  sokWinSock->at(Index).Listen();
  pump();
}

void SocketMembers::WinSockSendData(std::int16_t Index, const Bytes& TransmitedData) {
  send(Index, TransmitedData, [] { return true; });
}

void SocketMembers::WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData) {
  WinSockSendData(Index, {TransmitedData});
}

void SocketMembers::WinSockConnect(std::int16_t Index) {
  closedSocket(Index).Connect();
  pump();
}

void SocketMembers::WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost) {
  closedSocket(Index).Connect(RemoteHost);
  pump();
}

void SocketMembers::WinSockClose(std::int16_t Index) {
  pump();
  sokWinSock->at(Index).Close();
  pump();
}

void SocketMembers::send(std::int16_t Index, const Bytes& bytes,
                         const std::function<bool()>& wanted) {
  pump();
  if (!wanted()) return;
  sokWinSock->at(Index).SendData(bytes);
  ++mSent;
  pump();
}

Socket& SocketMembers::closedSocket(std::int16_t Index) {
  Socket& socket = sokWinSock->at(Index);
  if (socket.State() != sckClosed) socket.Close();
  pump();
  return sokWinSock->at(Index);
}

}  // namespace cronvel
