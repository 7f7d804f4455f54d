#pragma once

#include <cstdint>
#include <string>

namespace cronvel {

/// The values of the control's properties that its links and commands share. What stands here is
/// what a new control has, and what a property bag leaves out.
struct ControlState {
  bool Enabled = true;
  bool ReaderOn = false;
  bool MonitoringON = false;
  std::uint8_t IdLen = 4;
  bool DialupConnection = false;
  std::u16string TelNum = u"0";
  std::u16string BPS = u"9600";
  std::uint8_t DeviceNum = 1;
  std::int32_t NumOfRecs = 0;
  std::int32_t DamagedRecs = 0;
};

}  // namespace cronvel
