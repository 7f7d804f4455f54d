#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/HostArray.h"

namespace cronvel {

/// A terminal's eight modes, and whether it admits persons. The members are the control's own,
/// documented there.
class ModeCommands {
 public:
  explicit ModeCommands(const DeviceLinks& links) : mLinks(links) {}

  bool SetMode(const std::u16string& sRemoteHost, std::uint8_t mMode);
  bool SendModeStr(const std::u16string& sRemoteHost, const HostArray<std::u16string>& ModeStr);
  bool SendModeActive(const std::u16string& sRemoteHost, const HostArray<bool>& ModeActive);
  bool SetPersonAccessable(const std::u16string& sRemoteHost, bool Accessable);

 private:
  const DeviceLinks& mLinks;
};

}  // namespace cronvel
