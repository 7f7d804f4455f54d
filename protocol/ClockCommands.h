#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/Variant.h"

namespace cronvel {

/// The terminal's clock, calendar, memory, keypad and sign of life. Unless said otherwise
/// `MonitoringON` is False after a reply on the serial line and has its earlier value in every
/// other outcome.
class ClockCommands {
 public:
  /// Sets the terminal's clock. `mTime` is a time, a number (fraction of a day) or a text such as
  /// 23:59:07; 13 for anything else. Listens.
  bool SetTime(const std::u16string& sRemoteHost, const Variant& mTime);
  /// Sets the terminal's date from a text of day, month and two-digit year with one separator
  /// character between them, and the day of the week as the terminal numbers it. Connects.
  bool SetDate(const std::u16string& sRemoteHost, const std::u16string& mdate, std::uint8_t mDay);
  /// Sets the daylight-saving period: start day and month, end day and month; 6 for a value of 160
  /// or more. It does not hold `MonitoringON` while it runs: if that is True, the serial line's
  /// reply is reported as monitoring data and the command returns False, so switch it off before.
  /// It is False afterwards. Connects.
  bool SetDayLight(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                   std::uint8_t d2, std::uint8_t m2);
  /// Erases the terminal's record memory. Connects.
  bool ResetMem(const std::u16string& sRemoteHost);
  /// Asks the terminal for a sign of life. `MonitoringON` keeps its value. Listens.
  bool TestConnection(const std::u16string& sRemoteHost);
  /// Sets the keypad to a setting that the terminal knows by number. Connects.
  bool SetKeyboard(const std::u16string& sRemoteHost, std::uint8_t mKey);

 protected:
  explicit ClockCommands(DeviceLinks& links) : mLinks(links) {}
  ~ClockCommands() = default;

 private:
  DeviceLinks& mLinks;
};

}  // namespace cronvel
