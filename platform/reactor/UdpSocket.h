#pragma once

#include <cstdint>
#include <deque>
#include <span>

#include "platform/reactor/SocketApi.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// A bound UDP socket and the datagrams that wait in it.
class UdpSocket {
 public:
  struct Datagram {
    Bytes bytes;
    in_addr sender;
  };

  /// Raises 10048 and the like.
  explicit UdpSocket(std::int32_t localPort);

  SocketHandle socket() const { return mSocket.get(); }
  short interest() const;
  /// Raises what the network says against it.
  void sendTo(const sockaddr_in& peer, std::span<const std::uint8_t> bytes) const;
  /// Reads what has come, within a limit.
  void fill();
  /// All datagrams ever read.
  std::uint64_t arrivals() const { return mArrivals; }
  const std::deque<Datagram>& waiting() const { return mWaiting; }
  Datagram take();

 private:
  OwnedSocket mSocket;
  std::deque<Datagram> mWaiting;
  std::uint64_t mArrivals = 0;
};

}  // namespace cronvel
