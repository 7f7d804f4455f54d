#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

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
  SocketArray& sockets() const { return *mMembers.sokWinSock; }

  /// Sends a byte; not if `wanted` says no after the messages that are pumped first.
  void send(std::int16_t Index, std::uint8_t byte, const std::function<bool()>& wanted) {
    mMembers.send(Index, {byte}, wanted);
  }

  /// The socket that the event under way is about.
  std::int16_t arrivalIndex() const { return mArrivalIndex; }

  /// Forgets what arrived before the last byte was sent: it is no answer to that.
  void forgetEarlierArrival();
  /// Takes the last block that arrived, if one did since the last call.
  std::optional<Bytes> takeArrival();

  /// While one of these lives, arriving bytes stay in their socket: a command reads it itself, or
  /// is not ready for the next block.
  class DirectRead {
   public:
    explicit DirectRead(NetworkLink& link) : mLink(link) { ++mLink.mDirectReads; }
    ~DirectRead() { --mLink.mDirectReads; }
    DirectRead(const DirectRead&) = delete;
    DirectRead& operator=(const DirectRead&) = delete;

   private:
    NetworkLink& mLink;
  };

  /// While it lives, all that arrives on one socket waits here, in order, for the command that
  /// reads it; the host sees it as events all the same.
  class Stream {
   public:
    Stream(NetworkLink& link, std::int16_t index) : mLink(link), mIndex(index) {
      mLink.mStreams.push_back(this);
    }
    ~Stream() { std::erase(mLink.mStreams, this); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    std::int16_t index() const { return mIndex; }
    std::optional<Bytes> take();

   private:
    friend class NetworkLink;
    NetworkLink& mLink;
    std::int16_t mIndex;
    std::deque<Bytes> mBlocks;
  };

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

  void keep(std::int16_t Index, const Bytes& bytes);
  void reportState();
  void pump() { mMembers.pump(); }

  __Cronvel& mEvents;
  SocketMembers& mMembers;
  std::unique_ptr<Timer> tmrWinSockCurrentState;
  std::int16_t mLastSocketState;
  std::int16_t mArrivalIndex = 0;
  int mDirectReads = 0;
  std::vector<Stream*> mStreams;
  bool mDataArrived = false;
  Bytes mReceivedData;
  std::int64_t mSentBefore = 0;  ///< bytes and blocks that had been sent when it arrived
};

}  // namespace cronvel
