#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <span>

#include "platform/posix/FileDescriptor.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// A TCP connection with its two buffers. Nothing here waits; failures are kept in `error`.
class TcpStream {
 public:
  /// Begins to connect.
  explicit TcpStream(const sockaddr_in& peer);
  /// Of an accepted connection.
  explicit TcpStream(FileDescriptor connected);

  int fd() const { return mFd.get(); }
  /// What `poll` should look for.
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
  /// An `errno`; 0 while the connection is good.
  int error() const { return mError; }
  /// Whether closing it now could destroy bytes on their way to the peer: ones not delivered yet,
  /// or delivered ones if unread input makes the system reset the connection.
  bool mustLinger() const;
  void endSending();
  /// Ends the connection; unread bytes can still be taken.
  void close() { mFd.reset(); }

 private:
  void prepare() const;
  void received(ssize_t result);
  void breakOff(int error);

  FileDescriptor mFd;
  Bytes mQueue;
  std::size_t mSent = 0;  ///< of mQueue
  Bytes mReceived;
  std::uint64_t mArrivals = 0;
  bool mEnded = false;
  int mError = 0;
};

}  // namespace cronvel
