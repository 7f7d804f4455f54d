#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "link/DeviceLinks.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// How a command gets its connection on the network.
enum class NetworkVariant {
  connect,  ///< connects to the host and sends at once
  listen,   ///< waits up to 10 s for the terminal to connect in to the port named after "-"
};

/// The transport of one command. A line is chosen once, from `sRemoteHost`; after that no step asks
/// which one it is.
class DeviceLine {
 public:
  static std::unique_ptr<DeviceLine> choose(const DeviceLinks& links,
                                            const std::u16string& sRemoteHost);
  /// The network, on a socket of its own.
  static std::unique_ptr<DeviceLine> onSocket(const DeviceLinks& links, std::int16_t index,
                                              const std::u16string& sRemoteHost);
  virtual ~DeviceLine() = default;

  /// What comes before the monitoring hold: the connect variant connects here.
  virtual void connect(NetworkVariant variant) = 0;
  /// The link preparation. False when no terminal connected in.
  virtual bool prepare(NetworkVariant variant) = 0;
  /// Discards what was written and has not left.
  virtual void discardOutput() = 0;
  /// Discards what was received so far.
  virtual void discardInput() = 0;
  /// The line settings for what follows. The modem and the network have none.
  virtual void settings(std::string_view settings) = 0;
  /// Sends one byte. A value that fits no byte raises 5 on the serial line and 6 on the network.
  virtual void send(int value) = 0;
  /// From now on what arrives is the reply.
  virtual void expectReply() = 0;
  /// Everything that has arrived, if anything has.
  virtual std::optional<Bytes> takeReply() = 0;
  /// After the exchange: the serial port stays open, the socket is closed.
  virtual void close() = 0;
  virtual bool isSerial() const = 0;
};

}  // namespace cronvel
