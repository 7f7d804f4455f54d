#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/Socket.h"
#include "platform/reactor/CallOut.h"
#include "platform/sockets/Network.h"
#include "platform/sockets/SocketError.h"

namespace cronvel {

/// What the elements of an array share; outlives the array while one of its handlers runs.
struct SocketHub {
  struct Request {
    OwnedSocket connection;
    sockaddr_in peer;
  };

  /// The id under which the connection can be had while it is on offer.
  std::int32_t offer(Request request);

  SocketEvents* events = nullptr;
  std::map<std::int32_t, Request> requests;  ///< on offer, by id
  std::int32_t nextRequest = 1;
};

class OpenSocket;

/// An element's place in its array: its settings, its state and its turn in the pump's passes, for
/// the open socket that is in it.
struct SocketPlace {
  SocketPlace(Network& networkToUse, std::shared_ptr<SocketHub> itsHub, std::int16_t itsIndex)
      : network(networkToUse), hub(std::move(itsHub)), index(itsIndex) {}

  /// The peer's name as set, without blanks around it. Raises 380 where there is none.
  std::string host() const;
  /// What sending in a state without a connection raises.
  RunTimeError notConnected() const;
  /// That the peer's name was not found.
  SocketError hostNotFound(const std::string& problem) const;

  void put(std::shared_ptr<OpenSocket> newSocket, std::int16_t newState);
  /// Empties the place in order: what was sent is still delivered.
  void close();
  void updateWatch();
  /// One pass.
  void pump(short found);
  /// Has the next pass report the failure.
  void failLater(SocketError error);
  /// Reports it at once.
  void fail(const SocketError& error);

  Network& network;
  std::shared_ptr<SocketHub> hub;
  std::int16_t index;

  std::int16_t protocol = sckTCPProtocol;
  std::int32_t localPort = 8085;
  std::int32_t remotePort = 8085;
  std::u16string remoteHost;

  std::int16_t state = sckClosed;
  std::shared_ptr<OpenSocket> socket;  ///< null in a closed element
  std::optional<sockaddr_in> peer;     ///< the last one known
  std::optional<SocketError> failure;  ///< to be reported by the next pass
  CallOut requestCall, dataCall;
  Reactor::Watch watch;
};

/// What an open element is: a listener, a connection being made, a stream, or datagrams. One object
/// for each of these phases; a place holds it.
///
/// Handlers may do anything to the element, its destruction included: who calls `pump` keeps the
/// socket and its place alive, and after each event `current` tells whether it is still in place.
class OpenSocket {
 public:
  explicit OpenSocket(SocketPlace& place) : mPlace(place) {}
  virtual ~OpenSocket() = default;
  OpenSocket(const OpenSocket&) = delete;
  OpenSocket& operator=(const OpenSocket&) = delete;

  virtual SocketHandle handle() const = 0;
  /// The poller's events to wait for.
  virtual short interest() const = 0;
  /// Whether there is something to report in each pass.
  virtual bool callEachPass() const { return false; }
  virtual void pump(short found) = 0;

  virtual void send(std::span<const std::uint8_t> /*bytes*/) { throw mPlace.notConnected(); }
  virtual std::int32_t bytesReceived() { return 0; }
  virtual Bytes take() { return {}; }

  /// The element has failed: lets go of the network. What was received can still be taken.
  virtual void abandon() = 0;
  /// The element was closed.
  virtual void close() { abandon(); }

 protected:
  bool current() const { return mPlace.socket.get() == this; }
  SocketEvents* events() const { return mPlace.hub->events; }

  SocketPlace& mPlace;
};

}  // namespace cronvel
