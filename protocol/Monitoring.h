#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "link/DeviceLinks.h"

namespace cronvel {

/// Switches live monitoring, for one terminal or for a group of network terminals with a socket
/// each. 387 in design mode. The new value is kept in `MonitoringON` before anything is sent.
class Monitoring {
 public:
  /// Whether bytes that arrive on the serial line outside a command are reported as monitoring
  /// data. The set sends the switch over the serial line and waits for no reply; 387 in design
  /// mode. Every command holds it False while it runs; some leave it False (see there).
  bool MonitoringON() const { return mLinks.state.MonitoringON; }
  void MonitoringON(bool New_MonitoringON);

  /// Switches a terminal's live monitoring and waits for no reply. On the network it waits, without
  /// a limit, for the terminal to connect in to socket 0's local port, and leaves the connection
  /// open for the terminal's events while monitoring is on. False when nothing was sent.
  bool SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON);
  /// Adds a terminal to the monitored group: makes a socket for it that listens on the port after
  /// "-" (10 s), and waits 5 s for the reply. The connection stays open if one came. With an empty
  /// `sRemoteHost` it does nothing and returns False.
  bool SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  /// Serves every connected socket of the group, one after another, and destroys it. True when all
  /// were served, whatever they answered. With an empty `sRemoteHost` it does nothing and returns
  /// False.
  bool SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  // For hosts in C++ that end what they monitored, and want to know that it has ended. They send
  // the same bytes; 387 in design mode.

  /// Switches the serial line's terminal off. True when it confirmed that within 5 s.
  bool switchLineOff();
  /// Switches off, side by side, the terminals of all connections that stand, socket 0's and the
  /// group's, and closes them. Returns the sockets whose terminals did not confirm within 5 s.
  std::vector<std::int16_t> switchConnectionsOff();

  /// Connects the highest socket to `WinSockRemoteHost` and sends a zero byte. Always True.
  bool StartMonitoringGroup();

 protected:
  explicit Monitoring(DeviceLinks& links) : mLinks(links) {}
  ~Monitoring() = default;

 private:
  bool begin(bool New_MonitoringON);
  void switchMember(std::int16_t index, bool on);

  DeviceLinks& mLinks;
};

}  // namespace cronvel
