#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/Variant.h"

namespace cronvel {

/// The terminal's clock, calendar, memory, keypad and sign of life. The members are the control's
/// own, documented there.
class ClockCommands {
 public:
  explicit ClockCommands(const DeviceLinks& links) : mLinks(links) {}

  bool SetTime(const std::u16string& sRemoteHost, const Variant& mTime);
  bool SetDate(const std::u16string& sRemoteHost, const std::u16string& mdate, std::uint8_t mDay);
  bool SetDayLight(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                   std::uint8_t d2, std::uint8_t m2);
  bool ResetMem(const std::u16string& sRemoteHost);
  bool TestConnection(const std::u16string& sRemoteHost);
  bool SetKeyboard(const std::u16string& sRemoteHost, std::uint8_t mKey);

 private:
  const DeviceLinks& mLinks;
};

}  // namespace cronvel
