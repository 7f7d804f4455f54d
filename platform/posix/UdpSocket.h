#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <deque>
#include <span>

#include "platform/posix/FileDescriptor.h"
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

  int fd() const { return mFd.get(); }
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
  FileDescriptor mFd;
  std::deque<Datagram> mWaiting;
  std::uint64_t mArrivals = 0;
};

}  // namespace cronvel
