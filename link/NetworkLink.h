#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "link/SocketMembers.h"

namespace cronvel {

/// The path by which what happens on the sockets reaches the host, and the hand-over of received
/// bytes to a command that waits for them.
class NetworkLink : private SocketEvents {
 public:
  /// All outlive it.
  NetworkLink(Platform& platform, Host& host, SocketMembers& members);

  /// What the commands do with a socket is what hosts do.
  SocketMembers& members() { return mMembers; }
  SocketArray& sockets() { return *mMembers.sokWinSock; }

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
  void pump() { mMembers.pump(); }

  __Cronvel& mEvents;
  SocketMembers& mMembers;
  std::unique_ptr<Timer> tmrWinSockCurrentState;
  std::int16_t mLastSocketState;
  bool mDirectRead = false;
  bool mDataArrived = false;
  Bytes mReceivedData;
};

}  // namespace cronvel
