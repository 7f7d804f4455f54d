#pragma once

#include <cstdint>
#include <span>

#include "platform/system/SocketApi.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// A TCP connection with its two buffers. Nothing here waits; failures are kept in `error`.
class TcpStream {
 public:
  /// Begins to connect.
  explicit TcpStream(const sockaddr_in& peer);
  /// Of an accepted connection.
  explicit TcpStream(OwnedSocket connected);

  SocketHandle socket() const { return mSocket.get(); }
  /// The reactor's events to wait for.
  short interest() const;

  /// For a connecting stream that became ready: whether it is connected now. If not, see `error`.
  bool finishConnect();

  void send(std::span<const std::uint8_t> bytes);
  /// Writes what the network takes.
  void flush();
  bool unsent() const { return mSent < mQueue.size(); }
  std::size_t unsentCount() const { return mQueue.size() - mSent; }
  Bytes takeUnsent();

  /// Reads what has come, within a limit on unread bytes.
  void fill();
  /// Reads and drops what has come.
  void discard();
  std::size_t unread() const { return mReceived.size(); }
  /// All bytes ever read.
  std::uint64_t arrivals() const { return mArrivals; }
  Bytes take() { return std::exchange(mReceived, {}); }

  /// The peer sends no more.
  bool ended() const { return mEnded; }
  /// A `lastSocketError`; 0 while the connection is good.
  int error() const { return mError; }
  /// Whether closing it now could destroy bytes on their way to the peer: ones not delivered yet,
  /// or delivered ones if unread input makes the system reset the connection.
  bool mustLinger() const;
  void endSending() { cronvel::endSending(mSocket.get()); }
  /// Ends the connection; unread bytes can still be taken.
  void close() { mSocket.reset(); }

 private:
  void prepare() const;
  void received(std::ptrdiff_t result);
  void breakOff(int error);

  OwnedSocket mSocket;
  Bytes mQueue;
  std::size_t mSent = 0;  ///< of mQueue
  Bytes mReceived;
  std::uint64_t mArrivals = 0;
  bool mEverSent = false;
  bool mEnded = false;
  int mError = 0;
};

}  // namespace cronvel
