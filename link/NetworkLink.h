#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "link/CronvelEvents.h"
#include "platform/Platform.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// The child socket array with the nine socket members, the socket properties, and the hand-over of
/// received bytes to a command that waits for them.
class NetworkLink : private SocketEvents {
 public:
  NetworkLink(Platform& platform, __Cronvel& events);

  // The values that the two mode members give to a socket.
  std::int16_t WinSockProtocol = sckTCPProtocol;
  std::int32_t WinSockLocalPort = 8085;
  std::int32_t WinSockRemotePort = 8085;
  std::u16string WinSockRemoteHost;

  // The socket members, as the control documents them.
  void SetWinSockTCPMode(std::int16_t Index);
  void SetWinSockUDPMode(std::int16_t Index);
  void SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort);
  void WinSockListen(std::int16_t Index);
  void WinSockSendData(std::int16_t Index, const Bytes& TransmitedData);
  void WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData);
  void WinSockConnect(std::int16_t Index);
  void WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost);
  void WinSockClose(std::int16_t Index);

  SocketArray& sockets() { return *sokWinSock; }

  /// Forgets what arrived before, so that it is not taken for what comes now.
  void forgetArrival() { mDataArrived = false; }
  /// Takes the last block that arrived, if one did since the last call.
  std::optional<Bytes> takeArrival();

  /// While True, arriving bytes stay in their socket: a command reads it itself, or is not ready
  /// for the next block.
  void directRead(bool on) { mDirectRead = on; }

 private:
  void ConnectionRequest(std::int16_t Index, std::int32_t requestID) override;
  void DataArrival(std::int16_t Index, std::int32_t bytesTotal) override;
  void Error(std::int16_t Index, std::int16_t Number, std::u16string& Description,
             std::int32_t Scode, const std::u16string& Source, const std::u16string& HelpFile,
             std::int32_t HelpContext, bool& CancelDisplay) override;
  // Nothing hangs on these four: a command looks at the state.
  void Connect(std::int16_t /*Index*/) override {}
  void Close(std::int16_t /*Index*/) override {}
  void SendComplete(std::int16_t /*Index*/) override {}
  void SendProgress(std::int16_t /*Index*/, std::int32_t /*bytesSent*/,
                    std::int32_t /*bytesRemaining*/) override {}

  void reportState();
  void closeIfOpen(std::int16_t Index);
  Socket& closedSocket(std::int16_t Index);
  void pump() { mPump.DoEvents(); }

  __Cronvel& mEvents;
  MessagePump& mPump;
  std::unique_ptr<SocketArray> sokWinSock;
  std::unique_ptr<Timer> tmrWinSockCurrentState;
  std::int16_t mLastSocketState;
  bool mDirectRead = false;
  bool mDataArrived = false;
  Bytes mReceivedData;
};

}  // namespace cronvel
