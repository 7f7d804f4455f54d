#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// Switches live monitoring, for one terminal or for a group of network terminals with a socket
/// each. The members are the control's own, documented there.
class Monitoring {
 public:
  /// Keeps the new value of `MonitoringON`; raises 387 in design mode.
  using Store = std::function<void(bool)>;

  Monitoring(const DeviceLinks& links, Store storeMonitoringOn);

  void MonitoringON(bool New_MonitoringON) { SetMonitoringOnOff({}, New_MonitoringON); }
  bool SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON);
  bool SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  bool SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  bool StartMonitoringGroup();

 private:
  bool begin(bool New_MonitoringON);
  bool switchFirstSocket(bool on);
  void switchMember(std::int16_t index, bool on);

  const DeviceLinks& mLinks;
  Store mStoreMonitoringOn;
};

}  // namespace cronvel
