#pragma once

#include <cstdint>
#include <string>

namespace cronvel {

/// The properties of the control that a record file check uses and sets.
struct RecordCounters {
  std::uint8_t IdLen = 4;
  std::int32_t NumOfRecs = 0;
  std::int32_t DamagedRecs = 0;
};

/// Checks a raw record file as `Cronvel::CheckIntegrity` documents it; True for -1.
///
/// The stream is a sequence of markers (0xA1 and up) and data bytes of two decimal digits each. A
/// marker ends the record being collected and says what kind follows: date records (3 bytes: day,
/// month, year) or card records (`IdLen` / 2 bytes of card number, hour, minute). 0xE3 starts the
/// trailer of 11 plain bytes: start and end position (3 bytes each), record count (2), 2 unused,
/// 0xE3. The files written beside it:
///
/// - ".txt": card, time, date and type of each card record, quoted, comma-separated
/// - ".ddd": each date, quoted
/// - ".dat": tab-separated lines: "0ed" once before the first date, "bb" and the date's parts, a
///   type other than "ed" alone, card and time
bool checkRecordFile(const std::u16string& mFileName, bool DoCheck, RecordCounters& counters);

}  // namespace cronvel
