#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"
#include "records/RecordCheck.h"
#include "runtime/Variant.h"

namespace cronvel {

/// Attendance records. A download writes what the terminal streams into `mFileName`, block by block
/// as it comes, until 5 s pass in silence, then runs `CheckIntegrity` on the file of the same
/// folder and base name with the extension ".Hex": give `mFileName` that extension. An older file
/// of that name is deleted first. Returns 1 when the download ran to its end and the check did not
/// find it whole, else 0: either all is well, or nothing was downloaded because there was no
/// carrier or no connection. File errors: 52, 61, 70, 75, 76.
class RecordDownload {
 public:
  /// The speed at which the terminal streams its records over the serial line, as text: one of
  /// `streamSpeeds`; "9600" at first. 387 in design mode.
  std::u16string BPS() const { return mLinks.state.BPS; }
  void BPS(const std::u16string& New_BPS);

  /// The whole record memory, at the `BPS` speed. On the network it waits, without a limit, for the
  /// terminal to connect in to socket 0's local port; closing socket 0 from an event ends the wait.
  std::int16_t GetData(const std::u16string& sRemoteHost, const std::u16string& mFileName);
  /// The whole record memory at 4800 baud, on the serial line or the modem. Empty without a
  /// carrier.
  Variant GetDataBuff(const std::u16string& mFileName);
  /// The records from day d1, month m1, year y1 (two digits) to day d2, month m2, year y2.
  /// Connects.
  std::int16_t GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                             std::uint8_t y1, std::uint8_t d2, std::uint8_t m2, std::uint8_t y2,
                             const std::u16string& mFileName);

 protected:
  RecordDownload(DeviceLinks& links, RecordCheck& check) : mLinks(links), mCheck(check) {}
  ~RecordDownload() = default;

 private:
  DeviceLinks& mLinks;
  RecordCheck& mCheck;
};

}  // namespace cronvel
