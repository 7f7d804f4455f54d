#pragma once

#include <cstdint>
#include <string>

namespace cronvel {

/// The settings of the control that its links and commands share. Each is a property of the
/// control.
struct LinkState {
  std::uint8_t DeviceNum = 1;
  bool DialupConnection = false;
  bool MonitoringON = false;
  std::u16string TelNum = u"0";
  std::u16string BPS = u"9600";
};

}  // namespace cronvel
