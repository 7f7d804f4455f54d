#pragma once

#include <deque>
#include <vector>

#include "platform/sockets/ReceivingSocket.h"

namespace cronvel {

/// A bound UDP socket and the datagrams that wait in it.
class DatagramSocket : public ReceivingSocket {
 public:
  /// Raises 10048 and the like.
  explicit DatagramSocket(SocketPlace& place);

  SocketHandle handle() const override { return mSocket.get(); }
  short interest() const override;
  void pump(short found) override;
  /// To the place's host, at once or when its name was looked up. Raises what the network says
  /// against it.
  void send(std::span<const std::uint8_t> bytes) override;
  void abandon() override;

 private:
  struct Datagram {
    Bytes bytes;
    sockaddr_in sender;
  };

  void receive() override;
  bool waiting() const override { return !mWaiting.empty(); }
  std::size_t waitingBytes() const override { return mWaiting.front().bytes.size(); }
  Bytes takeWaiting() override;
  std::uint64_t arrivals() const override { return mArrivals; }

  void sendTo(in_addr host, std::span<const std::uint8_t> bytes);
  void sendHeld(const Resolver::Answer& answer);

  OwnedSocket mSocket;
  std::deque<Datagram> mWaiting;
  std::uint64_t mArrivals = 0;
  Resolver::Query mQuery;
  std::vector<Bytes> mHeld;  ///< sent while the name was being looked up
};

}  // namespace cronvel
