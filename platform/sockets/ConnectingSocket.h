#pragma once

#include <optional>
#include <vector>

#include "platform/sockets/SocketPlace.h"
#include "platform/sockets/TcpStream.h"

namespace cronvel {

/// Looks the peer's name up and tries its addresses one after another. Once connected, a stream
/// socket takes its place.
class ConnectingSocket : public OpenSocket {
 public:
  using OpenSocket::OpenSocket;
  /// To be called once, in place.
  void start(const std::string& host);

  SocketHandle handle() const override { return mStream ? mStream->socket() : noSocket; }
  short interest() const override { return mStream ? Poller::writable : short{0}; }
  void pump(short found) override;
  /// Keeps the bytes until connected.
  void send(std::span<const std::uint8_t> bytes) override;
  void abandon() override;
  void close() override;

 private:
  void resolved(const Resolver::Answer& answer);
  void connectNext();

  Resolver::Query mQuery;
  std::vector<in_addr> mCandidates;  ///< addresses to try, last one first
  Bytes mEarly;                      ///< sent before there was a stream
  std::optional<TcpStream> mStream;
};

}  // namespace cronvel
