#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/HostArray.h"
#include "runtime/Variant.h"

namespace cronvel {

/// The tables of fixed size that a terminal keeps.
class DeviceTables {
 public:
  /// Loads the alarm timetable over the serial line: 24 entries of two time fields (0 to 99) and a
  /// byte that goes out as it is. Waits for no reply; always empty. 9 for fewer than 72 elements
  /// and 6 for a field of 160 or more, when their turn comes.
  Variant SetAlarm(const HostArray<std::uint8_t>& mTiming);

  // Tables, packed two decimal digits to a byte. Both connect on the network. 9 for a missing
  // element and 6 for one of 160 or more, when its turn comes.

  /// 6 bytes.
  bool DefCards(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);
  /// 210 bytes; takes more than 10 s.
  bool DefAlarms(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);

 protected:
  explicit DeviceTables(DeviceLinks& links) : mLinks(links) {}
  ~DeviceTables() = default;

 private:
  bool define(int code, int count, const std::u16string& sRemoteHost,
              const HostArray<std::uint8_t>& mbyte);

  DeviceLinks& mLinks;
};

}  // namespace cronvel
