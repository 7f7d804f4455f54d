#pragma once

#include "platform/sockets/SocketPlace.h"

namespace cronvel {

/// An element of a socket array: its properties, and the choice of what it opens as.
class SocketElement : public Socket, public std::enable_shared_from_this<SocketElement> {
 public:
  SocketElement(Network& network, std::shared_ptr<SocketHub> hub, std::int16_t index)
      : mPlace(network, std::move(hub), index) {}
  /// To be called once, when a shared pointer owns the element.
  void start();

  std::int16_t Protocol() const override { return mPlace.protocol; }
  void Protocol(std::int16_t protocol) override;
  std::int32_t LocalPort() const override;
  void LocalPort(std::int32_t port) override;
  std::int32_t RemotePort() const override;
  void RemotePort(std::int32_t port) override;
  std::u16string RemoteHost() const override;
  void RemoteHost(const std::u16string& host) override { mPlace.remoteHost = host; }
  std::u16string RemoteHostIP() const override;
  std::u16string LocalIP() const override;
  std::int16_t State() const override { return mPlace.state; }
  std::int32_t BytesReceived() override;
  void Listen() override;
  void Accept(std::int32_t requestID) override;
  void Connect() override;
  void Connect(const std::u16string& host) override;
  void SendData(std::span<const std::uint8_t> bytes) override;
  Bytes GetData() override;
  void Close() override;

 private:
  void requireClosed(const char* what) const;

  SocketPlace mPlace;
  bool mAccepted = false;  ///< the peer came by itself
};

}  // namespace cronvel
