#pragma once

#include <cstdint>

#include "link/LinkState.h"
#include "link/NetworkLink.h"
#include "link/SerialLink.h"
#include "platform/Platform.h"

namespace cronvel {

/// What a command works with: the shared settings, both links, and the machine's clock and pump.
struct DeviceLinks {
  Platform& platform;
  LinkState& state;
  SerialLink& serial;
  NetworkLink& network;

  /// Blocks the thread; no events meanwhile. Every pause of a command goes through here.
  void Sleep(std::int32_t ms) const { platform.clock().sleep(ms); }

  /// The one wait loop: looks with `probe` until it finds something or `seconds` have gone by, and
  /// pumps whenever it found nothing. Across midnight, where the seconds clock starts again, it
  /// goes on until the probe finds something.
  template <typename Probe>
  bool waitFor(double seconds, Probe&& probe) const {
    const double end = platform.clock().Timer() + seconds;
    while (platform.clock().Timer() < end) {
      if (probe()) return true;
      platform.messagePump().waitEvents();
    }
    return false;
  }

  /// Listens with socket 0, on the port that it has, until a terminal connects in; without a limit.
  /// False, with the socket closed, when it stopped listening otherwise.
  bool waitForTerminal() const {
    network.WinSockListen(0);
    const Socket& socket = network.sockets().at(0);
    while (socket.State() == sckConnecting || socket.State() == sckListening)
      platform.messagePump().waitEvents();
    if (socket.State() == sckConnected) return true;
    platform.note("no terminal connected in");
    network.WinSockClose(0);
    return false;
  }
};

}  // namespace cronvel
