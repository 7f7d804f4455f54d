#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/HostArray.h"

namespace cronvel {

/// A terminal's eight modes, and whether it admits persons. All connect on the network. The arrays
/// have elements 0 to 7, one for each mode; 9 for a missing one when its turn comes.
class ModeCommands {
 public:
  /// Chooses the current mode. `MonitoringON` keeps its value.
  bool SetMode(const std::u16string& sRemoteHost, std::uint8_t mMode);
  /// The names of the modes, up to 16 characters each. `MonitoringON` keeps its value.
  bool SendModeStr(const std::u16string& sRemoteHost, const HostArray<std::u16string>& ModeStr);
  /// Which modes can be chosen. `MonitoringON` keeps its value.
  bool SendModeActive(const std::u16string& sRemoteHost, const HostArray<bool>& ModeActive);
  bool SetPersonAccessable(const std::u16string& sRemoteHost, bool Accessable);

 protected:
  explicit ModeCommands(DeviceLinks& links) : mLinks(links) {}
  ~ModeCommands() = default;

 private:
  DeviceLinks& mLinks;
};

}  // namespace cronvel
