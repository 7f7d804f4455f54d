#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/HostArray.h"
#include "runtime/Variant.h"

namespace cronvel {

/// The tables of fixed size that a terminal keeps. The members are the control's own, documented
/// there.
class DeviceTables {
 public:
  explicit DeviceTables(const DeviceLinks& links) : mLinks(links) {}

  Variant SetAlarm(const HostArray<std::uint8_t>& mTiming);
  bool DefCards(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);
  bool DefAlarms(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);

 private:
  bool define(int code, int count, const std::u16string& sRemoteHost,
              const HostArray<std::uint8_t>& mbyte);

  const DeviceLinks& mLinks;
};

}  // namespace cronvel
