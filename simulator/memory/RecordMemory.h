#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/base/Bytes.h"
#include "simulator/memory/Date.h"

namespace cronvel::simulator {

/// One use of a card.
struct Punch {
  std::uint64_t card = 0;
  int minute = 0;           ///< since midnight
  std::uint8_t marker = 0;  ///< the byte that gives the record its type; 0 for a plain record
};

struct Day {
  Date date;
  std::vector<Punch> punches;  ///< in the order of their times
};

/// Both days are part of it.
struct DateRange {
  Date first;
  Date last;
};

/// What a terminal sends when it is asked for its records.
struct RecordStream {
  struct Span {
    std::size_t offset = 0;
    std::size_t size = 0;
  };

  Bytes bytes;
  std::size_t trailerAt = 0;   ///< where its 12 bytes start; a loaded file can have none
  std::vector<Span> digits{};  ///< where each record's digits are
  std::size_t cardRecords = 0;
};

/// The attendance records of one terminal, kept day by day and sent in the terminal's own format:
/// per day a date record (0xBB, day, month, year), then the card records (card number, hour,
/// minute), all in packed BCD; a type marker stands before a record that has a type. The trailer
/// tells between which positions of the memory the records were, and how many.
class RecordMemory {
 public:
  /// Positions run from 0 to this and then start again.
  static constexpr std::size_t positions = 65535;

  RecordMemory() = default;

  /// `idDigits` is the even number of digits of a card number, 2 to 16; `startPosition` the
  /// position of the first record, 0 to 65535. Throws std::invalid_argument for other values, for
  /// a card number that does not fit and for more records than the memory has positions.
  RecordMemory(std::vector<Day> days, int idDigits, std::size_t startPosition = 0);

  /// A memory that streams these bytes as they are, whatever they are. A trailer at their end is
  /// recognised.
  static RecordMemory fromBytes(const Bytes& raw);

  /// As `fromBytes`, with the bytes of a file. Throws std::runtime_error when it cannot be
  /// read.
  static RecordMemory fromFile(const std::string& path);

  /// Forgets all records; the next one goes to the position after the last.
  void clear();

  /// Number of card records (of a loaded file 0: it is not looked into).
  std::size_t size() const;

  /// All records, or only those of the days in the range. A loaded file is not filtered.
  RecordStream stream(const std::optional<DateRange>& range = std::nullopt) const;

 private:
  std::vector<Day> mDays;
  int mIdDigits = 4;
  std::size_t mStart = 0;
  std::optional<RecordStream> mRaw;
};

}  // namespace cronvel::simulator
