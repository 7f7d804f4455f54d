#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "link/DeviceLinks.h"
#include "runtime/Variant.h"

namespace cronvel {

class CommandExchange;

/// Streams a terminal's record memory into a file and has it checked. The members are the control's
/// own, documented there.
class RecordDownload {
 public:
  /// The record file check: file name, and whether the trailer's count is tested; -1 for a whole
  /// stream.
  using Check = std::function<std::int16_t(const std::u16string&, bool)>;

  RecordDownload(const DeviceLinks& links, Check check);

  std::int16_t GetData(const std::u16string& sRemoteHost, const std::u16string& mFileName);
  Variant GetDataBuff(const std::u16string& mFileName);
  std::int16_t GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                             std::uint8_t y1, std::uint8_t d2, std::uint8_t m2, std::uint8_t y2,
                             const std::u16string& mFileName);

 private:
  const DeviceLinks& mLinks;
  Check mCheck;
};

}  // namespace cronvel
