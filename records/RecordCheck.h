#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// The check of a raw record file, and what it counted.
class RecordCheck {
 public:
  /// Decimal digits of a card number in a record, two to a byte; 4 at first. An odd value is
  /// ignored.
  std::uint8_t IdLen() const { return mLinks.state.IdLen; }
  void IdLen(std::uint8_t New_IdLen);

  /// Card records found by the last record file check.
  std::int32_t NumOfRecs() const { return mLinks.state.NumOfRecs; }
  void NumOfRecs(std::int32_t New_NumOfRecs);

  /// Damaged card records and damaged date bytes found by the last record file check.
  std::int32_t DamagedRecs() const { return mLinks.state.DamagedRecs; }
  void DamagedRecs(std::int32_t New_DamagedRecs);

  /// Reads a raw record file, writes ".txt", ".ddd" and ".dat" files of the same base name beside
  /// it and sets `NumOfRecs` and `DamagedRecs`. Returns -1 when the file ends in a valid trailer
  /// (or breaks off within it), else 0; with `DoCheck` the trailer's record count must also agree
  /// with its positions to within 10. Raises 9 for more than 21 bytes that complete no record, 53
  /// for a missing file and the other file errors; the files then hold what was written so far.
  std::int16_t CheckIntegrity(const std::u16string& mFileName, bool DoCheck);

 protected:
  explicit RecordCheck(DeviceLinks& links) : mLinks(links) {}
  ~RecordCheck() = default;

 private:
  DeviceLinks& mLinks;
};

}  // namespace cronvel
