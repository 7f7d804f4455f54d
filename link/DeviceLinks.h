#pragma once

#include <cstdint>
#include <string_view>

#include "host/Host.h"
#include "link/ControlState.h"
#include "link/NetworkLink.h"
#include "link/SerialLink.h"
#include "platform/Platform.h"

namespace cronvel {

/// What a command works with: the control's values, both links, its host, and the machine's clock
/// and pump.
struct DeviceLinks {
  DeviceLinks(Platform& machine, Host& reportsTo, SocketMembers& sockets)
      : platform(machine),
        host(reportsTo),
        serial(machine, reportsTo, state),
        network(machine, reportsTo, sockets) {}

  Platform& platform;
  Host& host;
  ControlState state;
  SerialLink serial;
  NetworkLink network;

  /// Says why a command ended as it did.
  void note(NoteKind kind, std::string_view text) { host.notes.add(kind, text); }

  /// Blocks the thread; no events meanwhile. Every pause of a command goes through here.
  void Sleep(std::int32_t ms) { platform.clock().sleep(ms); }

  /// The one wait loop: looks with `probe` until it finds something or `seconds` have gone by, and
  /// pumps whenever it found nothing. Across midnight, where the seconds clock starts again, it
  /// goes on until the probe finds something.
  template <typename Probe>
  bool waitFor(double seconds, Probe&& probe) {
    const double end = platform.clock().Timer() + seconds;
    while (platform.clock().Timer() < end) {
      if (probe()) return true;
      platform.messagePump().waitEvents();
    }
    return false;
  }
};

}  // namespace cronvel
