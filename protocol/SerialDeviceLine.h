#pragma once

#include "protocol/DeviceLine.h"

namespace cronvel {

/// A modem on the serial port. Its settings are its own, and the call keeps the port open.
class ModemDeviceLine : public DeviceLine {
 public:
  explicit ModemDeviceLine(DeviceLinks& links) : mPort(links.serial.port()) {}

  bool connect(NetworkVariant /*variant*/) override { return true; }
  bool prepare(NetworkVariant variant) override;
  void discardOutput() override { mPort.OutBufferCount(0); }
  void discardInput() override { mPort.InBufferCount(0); }
  void settings(std::string_view /*settings*/) override {}
  void send(int value, const std::function<bool()>& wanted) override;
  void expectReply() override {}
  std::optional<Bytes> takeReply() override;
  std::unique_ptr<BlockStream> stream(StreamReading reading) override;
  void close() override {}

 protected:
  SerialPort& port() { return mPort; }

 private:
  bool isNetwork() const override { return false; }

  SerialPort& mPort;
};

/// The shared serial line, whose settings say which byte is an address.
class SerialDeviceLine : public ModemDeviceLine {
 public:
  using ModemDeviceLine::ModemDeviceLine;

  bool prepare(NetworkVariant variant) override;
  void settings(std::string_view settings) override { port().Settings(settings); }
};

}  // namespace cronvel
