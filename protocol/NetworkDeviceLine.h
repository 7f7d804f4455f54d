#pragma once

#include "protocol/DeviceLine.h"

namespace cronvel {

/// The network, on one socket of the array.
class NetworkDeviceLine : public DeviceLine {
 public:
  NetworkDeviceLine(DeviceLinks& links, std::int16_t index, const std::u16string& sRemoteHost)
      : mLinks(links), mNetwork(links.network), mIndex(index), mRemoteHost(sRemoteHost) {}

  bool connect(NetworkVariant variant) override;
  bool prepare(NetworkVariant variant) override;
  void discardOutput() override {}
  void discardInput() override {}
  void settings(std::string_view /*settings*/) override {}
  void send(int value, const std::function<bool()>& wanted) override;
  void expectReply() override { mNetwork.forgetEarlierArrival(); }
  std::optional<Bytes> takeReply() override { return mNetwork.takeArrival(); }
  std::unique_ptr<BlockStream> stream(StreamReading reading) override;
  void close() override { mNetwork.members().WinSockClose(mIndex); }

 private:
  bool isNetwork() const override { return true; }
  SocketState state() { return static_cast<SocketState>(mNetwork.sockets().at(mIndex).State()); }
  bool awaitTerminal();
  std::int32_t listenPort() const;

  DeviceLinks& mLinks;
  NetworkLink& mNetwork;
  std::int16_t mIndex;
  std::u16string mRemoteHost;
};

}  // namespace cronvel
