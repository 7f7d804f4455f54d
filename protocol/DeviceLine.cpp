#include "protocol/DeviceLine.h"

#include <array>

#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::int16_t commandSocket = 0;
constexpr double connectLimit = 10;

class SerialDeviceLine : public DeviceLine {
 public:
  explicit SerialDeviceLine(const DeviceLinks& links)
      : mState(links.state), mPort(links.serial.port()) {}

  void connect(NetworkVariant /*variant*/) override {}

  bool prepare(NetworkVariant /*variant*/) override {
    // Mark parity sets the ninth bit, which tells the terminals that the first byte is an address.
    settings("600,m,8,1");
    if (!mState.DialupConnection && !mPort.PortOpen()) mPort.PortOpen(true);
    discardInput();
    return true;
  }

  void discardOutput() override { mPort.OutBufferCount(0); }
  void discardInput() override { mPort.InBufferCount(0); }

  void settings(std::string_view settings) override {
    if (!mState.DialupConnection) mPort.Settings(settings);
  }

  void send(int value) override {
    if (value < 0 || value > 0xFF)
      throw RunTimeError(ErrorNumber::invalidProcedureCall,
                         std::to_string(value) + " is no character code from 0 to 255");
    const std::array byte{static_cast<std::uint8_t>(value)};
    mPort.Output(byte);
  }

  void expectReply() override {}

  std::optional<Bytes> takeReply() override {
    if (mPort.InBufferCount() < 1) return std::nullopt;
    return mPort.Input();
  }

  void close() override {}
  bool isSerial() const override { return true; }

 private:
  const LinkState& mState;
  SerialPort& mPort;
};

class NetworkDeviceLine : public DeviceLine {
 public:
  NetworkDeviceLine(const DeviceLinks& links, std::int16_t index, const std::u16string& sRemoteHost)
      : mLinks(links), mNetwork(links.network), mIndex(index), mRemoteHost(sRemoteHost) {}

  void connect(NetworkVariant variant) override {
    mNetwork.directRead(false);  // an earlier command that an error ended may have left it on
    if (variant == NetworkVariant::connect) mNetwork.WinSockConnectToHost(mIndex, mRemoteHost);
  }

  bool prepare(NetworkVariant variant) override {
    if (variant == NetworkVariant::connect) return true;
    mNetwork.SetWinSockLocalPort(mIndex, listenPort());
    mNetwork.WinSockListen(mIndex);
    mLinks.waitFor(connectLimit, [this] { return isConnected(); });
    return isConnected();
  }

  void discardOutput() override {}
  void discardInput() override {}
  void settings(std::string_view /*settings*/) override {}

  void send(int value) override { mNetwork.WinSockSendDataByte(mIndex, toByte(value)); }

  void expectReply() override { mNetwork.forgetArrival(); }
  std::optional<Bytes> takeReply() override { return mNetwork.takeArrival(); }
  void close() override { mNetwork.WinSockClose(mIndex); }
  bool isSerial() const override { return false; }

 private:
  bool isConnected() { return mNetwork.sockets().at(mIndex).State() == sckConnected; }

  /// The number after the first "-", or the whole text.
  std::int32_t listenPort() const {
    const std::size_t dash = mRemoteHost.find(u'-');
    const std::size_t start = dash == std::u16string::npos ? 0 : dash + 1;
    return toLong(trim(std::u16string_view(mRemoteHost).substr(start)));
  }

  const DeviceLinks& mLinks;
  NetworkLink& mNetwork;
  std::int16_t mIndex;
  std::u16string mRemoteHost;
};

}  // namespace

std::unique_ptr<DeviceLine> DeviceLine::choose(const DeviceLinks& links,
                                               const std::u16string& sRemoteHost) {
  if (sRemoteHost.empty()) return std::make_unique<SerialDeviceLine>(links);
  return onSocket(links, commandSocket, sRemoteHost);
}

std::unique_ptr<DeviceLine> DeviceLine::onSocket(const DeviceLinks& links, std::int16_t index,
                                                 const std::u16string& sRemoteHost) {
  return std::make_unique<NetworkDeviceLine>(links, index, sRemoteHost);
}

}  // namespace cronvel
