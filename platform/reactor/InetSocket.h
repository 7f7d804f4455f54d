#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Socket.h"
#include "platform/reactor/CallOut.h"
#include "platform/reactor/Network.h"
#include "platform/reactor/SocketApi.h"
#include "platform/reactor/SocketError.h"
#include "platform/reactor/TcpStream.h"
#include "platform/reactor/UdpSocket.h"

namespace cronvel {

/// What the elements of an array share; outlives the array while one of its handlers runs.
struct SocketHub {
  SocketEvents* events = nullptr;
  struct Request {
    OwnedSocket connection;
    sockaddr_in peer;
  };
  std::map<std::int32_t, Request> requests;  ///< connections on offer, by id
  std::int32_t nextRequest = 1;
};

/// An element of a socket array. It is one of: closed; a listener; a TCP stream (being resolved,
/// connecting, connected, closing or failed); a UDP socket.
///
/// Handlers may do anything to the element, its destruction included: `pump` keeps it alive, and
/// after each event `mEpoch` tells whether it is still the same connection.
class InetSocket : public Socket, public std::enable_shared_from_this<InetSocket> {
 public:
  InetSocket(Network& network, std::shared_ptr<SocketHub> hub, std::int16_t index)
      : mNetwork(network), mHub(std::move(hub)), mIndex(index) {}
  /// To be called once, when a shared pointer owns the element.
  void start();

  std::int16_t Protocol() const override { return mProtocol; }
  void Protocol(std::int16_t protocol) override;
  std::int32_t LocalPort() const override;
  void LocalPort(std::int32_t port) override;
  std::int32_t RemotePort() const override;
  void RemotePort(std::int32_t port) override;
  std::u16string RemoteHost() const override;
  void RemoteHost(const std::u16string& host) override { mRemoteHost = host; }
  std::u16string RemoteHostIP() const override;
  std::u16string LocalIP() const override;
  std::int16_t State() const override { return mState; }
  std::int32_t BytesReceived() override;
  void Listen() override;
  void Accept(std::int32_t requestID) override;
  void Connect() override;
  void Connect(const std::u16string& host) override;
  void SendData(std::span<const std::uint8_t> bytes) override;
  Bytes GetData() override;
  void Close() override;

 private:
  SocketHandle socket() const;
  std::string remoteHost() const;
  void requireClosed(const char* what) const;

  void openUdp();
  void sendDatagram(std::span<const std::uint8_t> bytes);
  void sendHeldDatagrams(const Resolver::Answer& answer);

  void resolved(const Resolver::Answer& answer);
  void connectNext();
  void failLater(const SocketError& error);

  void pump(short found);
  void offerRequest();
  void raiseRequest(std::int32_t request);
  void finishConnecting();
  void exchange(bool ready);
  bool open() const;
  void fill();
  bool raiseSent();
  bool raiseData();
  void raiseEnd();
  void fail(const SocketError& error);

  bool waiting() const;
  std::uint64_t arrivals() const;
  bool unannounced() const { return waiting() && arrivals() != mAnnounced; }
  std::int32_t waitingBytes() const;
  void updateWatch();
  short interest() const;

  Network& mNetwork;
  std::shared_ptr<SocketHub> mHub;
  std::int16_t mIndex;

  std::int16_t mProtocol = sckTCPProtocol;
  std::int32_t mLocalPort = 8085;
  std::int32_t mRemotePort = 8085;
  std::u16string mRemoteHost;

  std::int16_t mState = sckClosed;
  unsigned mEpoch = 0;               ///< counts openings and closings
  std::optional<sockaddr_in> mPeer;  ///< the last one known
  bool mAccepted = false;            ///< the peer came by itself
  OwnedSocket mListener;
  std::optional<TcpStream> mStream;
  std::optional<UdpSocket> mUdp;
  Resolver::Query mQuery;
  std::vector<in_addr> mCandidates;     ///< addresses to try, last one first
  Bytes mEarly;                         ///< sent while the name was being resolved
  std::vector<Bytes> mHeldDatagrams;    ///< the same in UDP
  std::optional<SocketError> mFailure;  ///< to be reported by the next pass

  std::uint64_t mAnnounced = 0;  ///< arrivals at the last data-arrival event
  bool mTaken = false;           ///< bytes were taken since then
  std::size_t mSentUnreported = 0;
  CallOut mRequestCall;
  CallOut mDataCall;
  Reactor::Watch mWatch;
};

}  // namespace cronvel
