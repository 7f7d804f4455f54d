#pragma once

#include <cstdint>
#include <string_view>

#include "host/Host.h"
#include "link/ControlState.h"
#include "link/Ending.h"
#include "link/NetworkLink.h"
#include "link/SerialLink.h"
#include "link/WaitLimit.h"
#include "platform/Platform.h"

namespace cronvel {

/// What a command works with: the control's values, both links, its host, and the machine's clock
/// and pump.
struct DeviceLinks {
  DeviceLinks(Platform& machine, Host& reportsTo, SocketMembers& sockets)
      : platform(machine),
        host(reportsTo),
        serial(machine, reportsTo, state),
        network(machine, reportsTo, sockets),
        ending(machine.messagePump()) {}

  Platform& platform;
  Host& host;
  ControlState state;
  SerialLink serial;
  NetworkLink network;
  Ending ending;
  WaitLimit::Midnight midnight = WaitLimit::Midnight::startsAgain;

  /// Says why a command ended as it did.
  void note(NoteKind kind, std::string_view text) { host.notes.add(kind, text); }

  /// Blocks the thread; no events meanwhile. Every pause of a command goes through here.
  void Sleep(std::int32_t ms) { platform.clock().sleep(ms); }

  /// Whether the command that is under way has to end: it sends nothing more, shows no message and
  /// waits no longer. Closes socket 0 then.
  bool ended() {
    if (!ending.asked()) return false;
    Socket& socket = network.sockets().at(0);
    if (socket.State() != sckClosed) socket.Close();
    return true;
  }

  /// The one wait loop: looks with `probe` until it finds something, `over` says that the time is
  /// up or the command was ended, and pumps whenever it found nothing. What comes is the probe's
  /// first: the handlers get what it left.
  template <typename Probe, typename Over>
  bool waitUntil(Probe&& probe, Over&& over) {
    while (!ended() && !over()) {
      if (probe()) return true;
      platform.messagePump().awaitEvents();
      if (probe()) return true;
      platform.messagePump().DoEvents();
      if (platform.messagePump().hostQuits()) ending.ask();
    }
    return false;
  }
  template <typename Probe>
  bool waitUntil(Probe&& probe) {
    return waitUntil(probe, [] { return false; });
  }
  template <typename Probe>
  bool waitFor(double seconds, Probe&& probe) {
    const WaitLimit limit(platform.clock(), seconds, midnight);
    return waitUntil(probe, [&] { return limit.over(); });
  }
};

}  // namespace cronvel
