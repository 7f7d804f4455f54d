#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "link/DeviceLinks.h"
#include "protocol/BlockStream.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// How a command gets its connection on the network.
enum class NetworkVariant {
  connect,  ///< connects to the host and sends at once
  listen,   ///< waits up to 10 s for the terminal to connect in to the port named after "-"
  await,    ///< waits, without a limit, for the terminal to connect in to the socket's own port
};

/// What a command has one of for each kind of line; the line takes its own.
template <typename Value>
struct PerLine {
  Value serial;
  Value network;
};

/// The transport of one command: the serial line, the modem on it, or the network. A line is chosen
/// once, from `sRemoteHost` and `DialupConnection`; after that it knows itself what each step means
/// on it.
class DeviceLine {
 public:
  static std::unique_ptr<DeviceLine> choose(DeviceLinks& links, const std::u16string& sRemoteHost);
  /// The network, on a socket of its own.
  static std::unique_ptr<DeviceLine> onSocket(DeviceLinks& links, std::int16_t index,
                                              const std::u16string& sRemoteHost);
  virtual ~DeviceLine() = default;

  /// What comes before the monitoring hold: the connect and await variants connect here. False when
  /// it became clear that no terminal will.
  virtual bool connect(NetworkVariant variant) = 0;
  /// The link preparation. False when no terminal connected in.
  virtual bool prepare(NetworkVariant variant) = 0;
  /// Discards what was written and has not left.
  virtual void discardOutput() = 0;
  /// Discards what was received so far.
  virtual void discardInput() = 0;
  /// The line settings for what follows. The modem and the network have none.
  virtual void settings(std::string_view settings) = 0;
  /// Sends one byte, unless `wanted` says no after what had to run before. A value that fits no
  /// byte raises 5 on the serial line and 6 on the network.
  virtual void send(int value, const std::function<bool()>& wanted) = 0;
  /// From now on what arrives is the reply.
  virtual void expectReply() = 0;
  /// Everything that has arrived, if anything has.
  virtual std::optional<Bytes> takeReply() = 0;
  /// The blocks of an answer that only silence ends. The line must outlive it.
  virtual std::unique_ptr<BlockStream> stream(StreamReading reading) = 0;
  /// After the exchange: the serial port stays open, the socket is closed.
  virtual void close() = 0;

  template <typename Value>
  Value own(const PerLine<Value>& values) const {
    return isNetwork() ? values.network : values.serial;
  }

 private:
  virtual bool isNetwork() const = 0;
};

}  // namespace cronvel
