#pragma once

#include "platform/sockets/SocketPlace.h"

namespace cronvel {

/// A socket on which data arrives: keeps it until it is taken, and announces it.
class ReceivingSocket : public OpenSocket {
 public:
  using OpenSocket::OpenSocket;

  bool callEachPass() const override { return waiting(); }
  std::int32_t bytesReceived() override;
  Bytes take() override;

 protected:
  /// Reads what the system has.
  virtual void receive() = 0;
  virtual bool waiting() const = 0;
  /// What `takeWaiting` would give.
  virtual std::size_t waitingBytes() const = 0;
  virtual Bytes takeWaiting() = 0;
  /// Grows with everything that comes.
  virtual std::uint64_t arrivals() const = 0;

  void fill();
  bool unannounced() const { return waiting() && arrivals() != mAnnounced; }
  /// False when the handler made this socket an earlier one.
  bool announce();

 private:
  std::int32_t countWaiting() const;

  std::uint64_t mAnnounced = 0;  ///< arrivals at the last data-arrival event
  bool mTaken = false;           ///< something was taken since then
};

}  // namespace cronvel
