#pragma once

#include "platform/sockets/ReceivingSocket.h"
#include "platform/sockets/TcpStream.h"

namespace cronvel {

/// A TCP connection that stands, until either end closes it.
class StreamSocket : public ReceivingSocket {
 public:
  StreamSocket(SocketPlace& place, TcpStream stream)
      : ReceivingSocket(place), mStream(std::move(stream)), mUnreported(mStream.unsentCount()) {}
  /// Begins with what was given to the stream before it was connected.
  void sendWaiting();

  SocketHandle handle() const override { return mStream.socket(); }
  short interest() const override { return mStream.interest(); }
  bool callEachPass() const override;
  void pump(short found) override;
  void send(std::span<const std::uint8_t> bytes) override;
  void abandon() override { mStream.close(); }
  void close() override { mPlace.network.closer.take(std::move(mStream)); }

 private:
  void receive() override { mStream.fill(); }
  bool waiting() const override { return mStream.unread() > 0; }
  std::size_t waitingBytes() const override { return mStream.unread(); }
  Bytes takeWaiting() override { return mStream.take(); }
  std::uint64_t arrivals() const override { return mStream.arrivals(); }

  bool reportSent();
  void reportEnd();

  TcpStream mStream;
  std::size_t mUnreported;  ///< bytes given to it that no event of sending has told of
};

}  // namespace cronvel
