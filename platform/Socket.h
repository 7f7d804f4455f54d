#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "runtime/Bytes.h"

namespace cronvel {

/// Values of `Socket::State`, as the socket control numbers them.
enum SocketState : std::int16_t {
  sckClosed = 0,
  sckOpen = 1,
  sckListening = 2,
  sckConnectionPending = 3,
  sckResolvingHost = 4,
  sckHostResolved = 5,
  sckConnecting = 6,
  sckConnected = 7,
  sckClosing = 8,  ///< the peer has closed; data that came before can still be read
  sckError = 9,
};

/// Values of `Socket::Protocol`.
enum SocketProtocol : std::int16_t { sckTCPProtocol = 0, sckUDPProtocol = 1 };

/// One element of a socket array. No member waits for the network: name resolution and connecting
/// go on in the background and show in `State`.
class Socket {
 public:
  virtual ~Socket() = default;

  /// 0 (TCP) at first. The set raises 380 for another value and 40020 unless closed.
  virtual std::int16_t Protocol() const = 0;
  virtual void Protocol(std::int16_t protocol) = 0;

  /// The port to listen on, or the source of datagrams; 8085 at first, 0 lets the system choose.
  /// While listening or connected: the port really used. The set raises 380 outside 0 to 65535 and
  /// 40020 unless closed. An outgoing TCP connection does not use it: the system chooses its port.
  virtual std::int32_t LocalPort() const = 0;
  virtual void LocalPort(std::int32_t port) = 0;

  /// The peer's port; 8085 at first. The set raises 380 outside 0 to 65535.
  virtual std::int32_t RemotePort() const = 0;
  virtual void RemotePort(std::int32_t port) = 0;

  /// The peer's name as set or connected to; of an accepted connection, its address.
  virtual std::u16string RemoteHost() const = 0;
  virtual void RemoteHost(const std::u16string& host) = 0;

  /// The peer's address in dotted form, also after the connection has ended; empty before it is
  /// known.
  virtual std::u16string RemoteHostIP() const = 0;

  /// This machine's address in dotted form, "127.0.0.1" where it has no other.
  virtual std::u16string LocalIP() const = 0;

  /// A `SocketState`.
  virtual std::int16_t State() const = 0;

  /// Bytes received and not yet taken.
  virtual std::int32_t BytesReceived() = 0;

  /// Waits for a peer on `LocalPort`. Raises 40020 unless closed, 40026 in UDP, 10048 when another
  /// program has the port.
  virtual void Listen() = 0;

  /// Takes the connection that a connection-request event offered. Raises 40020 unless closed, and
  /// 40006 when the request is no longer there. The connection takes this element over.
  virtual void Accept(std::int32_t requestID) = 0;

  /// Connects to `RemoteHost` and `RemotePort`. Raises 40020 unless closed, 380 without a host.
  /// Every failure that shows later is an error event. In UDP it sets the peer and opens.
  virtual void Connect() = 0;
  virtual void Connect(const std::u16string& host) = 0;

  /// Sends bytes; what the network does not take at once is kept and sent in order. While
  /// resolving or connecting everything is kept, and dropped if the connection fails. Raises 40006
  /// in every other unconnected state. In UDP each call is a datagram.
  virtual void SendData(std::span<const std::uint8_t> bytes) = 0;

  /// Takes everything received (in UDP, one datagram). Raises 40006 on a socket that never was
  /// open; returns nothing where nothing waits.
  virtual Bytes GetData() = 0;

  /// Closes in order: what was sent before is still delivered. Does nothing on a closed socket.
  virtual void Close() = 0;
};

/// What happens on the sockets of an array. Called one after another inside pump passes, on the
/// thread that made the array; a handler may pump again and may close or unload the element. What
/// is of no interest is left out.
class SocketEvents {
 public:
  virtual ~SocketEvents() = default;
  /// A peer connects to the listening element. A request that nobody accepts during the call is
  /// dropped.
  virtual void ConnectionRequest(std::int16_t /*Index*/, std::int32_t /*requestID*/) {}
  /// Bytes wait to be taken. Raised again in later passes while some still wait, at most once per
  /// element in a pass, and never inside its own handler.
  virtual void DataArrival(std::int16_t /*Index*/, std::int32_t /*bytesTotal*/) {}
  /// The socket failed; its state is 9 now.
  virtual void Error(std::int16_t /*Index*/, std::int16_t /*Number*/,
                     std::u16string& /*Description*/, std::int32_t /*Scode*/,
                     const std::u16string& /*Source*/, const std::u16string& /*HelpFile*/,
                     std::int32_t /*HelpContext*/, bool& /*CancelDisplay*/) {}
  virtual void Connect(std::int16_t /*Index*/) {}
  /// The peer has closed; all data that came before was announced.
  virtual void Close(std::int16_t /*Index*/) {}
  virtual void SendComplete(std::int16_t /*Index*/) {}
  virtual void SendProgress(std::int16_t /*Index*/, std::int32_t /*bytesSent*/,
                            std::int32_t /*bytesRemaining*/) {}
};

/// Sockets by index. Element 0 exists from the start and cannot be unloaded.
class SocketArray {
 public:
  virtual ~SocketArray() = default;
  /// Raises 340 for an index that was never loaded or was unloaded.
  virtual Socket& at(std::int16_t Index) = 0;
  virtual bool exists(std::int16_t Index) const = 0;
  /// Makes an element, closed and with starting values. Raises 5 if it exists or is negative.
  virtual void load(std::int16_t Index) = 0;
  /// Closes and destroys an element. Raises 340 if there is none, 5 for element 0.
  virtual void unload(std::int16_t Index) = 0;
  /// The highest index that exists.
  virtual std::int16_t upperBound() const = 0;
  /// Who is told; null for nobody. Outlives its registration.
  virtual void setEvents(SocketEvents* events) = 0;
};

}  // namespace cronvel
