#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/Host.h"
#include "platform/Platform.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// The child socket array and what hosts do with it.
class SocketMembers {
 public:
  // Socket properties, not persisted. A set raises 387 in design mode, reports `PropertyChanged`,
  // and reaches a socket at the next `SetWinSockTCPMode` or `SetWinSockUDPMode`.

  /// 0 TCP (at first), 1 UDP.
  std::int16_t WinSockProtocol() const { return mProtocol; }
  void WinSockProtocol(std::int16_t New_WinSockProtocol);
  /// 8085 at first.
  std::int32_t WinSockLocalPort() const { return mLocalPort; }
  void WinSockLocalPort(std::int32_t New_WinSockLocalPort);
  /// 8085 at first.
  std::int32_t WinSockRemotePort() const { return mRemotePort; }
  void WinSockRemotePort(std::int32_t New_WinSockRemotePort);
  /// This machine's address at first.
  std::u16string WinSockRemoteHost() const { return mRemoteHost; }
  void WinSockRemoteHost(const std::u16string& New_WinSockRemoteHost);

  // Socket members. `Index` selects a socket (340 for one that does not exist); the socket's errors
  // reach the caller. Each pumps messages around its socket call. The commands use socket 0.

  /// Closes the socket and gives it `WinSockLocalPort` and `WinSockProtocol`.
  void SetWinSockTCPMode(std::int16_t Index);
  /// As `SetWinSockTCPMode`, and gives it `WinSockRemoteHost` and `WinSockRemotePort` too.
  void SetWinSockUDPMode(std::int16_t Index);
  /// Closes the socket and gives it a local port of its own.
  void SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort);
  /// Waits for a peer to connect in; a request is accepted by the control itself. 40020 unless
  /// closed.
  void WinSockListen(std::int16_t Index);
  void WinSockSendData(std::int16_t Index, const Bytes& TransmitedData);
  void WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData);
  /// Closes the socket if open and connects to its own remote host and port.
  void WinSockConnect(std::int16_t Index);
  /// Closes the socket if open and connects to the host at the socket's remote port.
  void WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost);
  void WinSockClose(std::int16_t Index);

 protected:
  /// Both outlive it.
  SocketMembers(Platform& platform, Host& host);
  ~SocketMembers() = default;
  SocketMembers(const SocketMembers&) = delete;
  SocketMembers& operator=(const SocketMembers&) = delete;

 private:
  friend class NetworkLink;

  Socket& closedSocket(std::int16_t Index);
  /// Sends unless it turns out in the pump before that this is not wanted any more.
  void send(std::int16_t Index, const Bytes& bytes, const std::function<bool()>& wanted);
  void pump() { mPump.DoEvents(); }

  Host& mHost;
  MessagePump& mPump;
  std::int64_t mSent = 0;  ///< calls of `SendData` so far
  std::unique_ptr<SocketArray> sokWinSock;
  // The values that the two mode members give to a socket.
  std::int16_t mProtocol = sckTCPProtocol;
  std::int32_t mLocalPort = 8085;
  std::int32_t mRemotePort = 8085;
  std::u16string mRemoteHost;
};

}  // namespace cronvel
