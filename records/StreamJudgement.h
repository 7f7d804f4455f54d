#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <vector>

#include "records/RecordStream.h"

namespace cronvel {

/// A place of a record stream where it cannot be right.
struct StreamFault {
  enum class Kind {
    leftOver,      ///< bytes that complete no record before the next marker or the trailer
    digits,        ///< a card record with a digit that is none
    time,          ///< a card record with an impossible time
    date,          ///< a date record of no day, in any calendar
    foreign,       ///< more bytes than any record has; nothing after it is read
    breaksOff,     ///< before the end of its trailer
    badTrailer,    ///< a trailer without its closing byte
    afterTrailer,  ///< bytes that belong to nothing
  };
  Kind kind;
  std::uint64_t offset;        ///< of its first byte
  std::int32_t recordsBefore;  ///< card records
};

/// Judges whether a stream of records is whole: it ends in its trailer, no byte is left over, and
/// digits, times and dates are possible. That is more than the record check asks of it.
class StreamJudgement : private RecordSink {
 public:
  /// As `RecordStream` does. Each record goes on to `readers`, if there is one; it outlives this.
  explicit StreamJudgement(std::size_t cardBytes, RecordSink* readers = nullptr)
      : mReaders(readers), mStream(cardBytes, false, *this, mDamaged) {}
  StreamJudgement(const StreamJudgement&) = delete;
  StreamJudgement& operator=(const StreamJudgement&) = delete;

  /// Reads a file as far as its first `limit` bytes. Raises the errors of `File`.
  void read(const std::filesystem::path& rawFile,
            std::uint64_t limit = std::numeric_limits<std::uint64_t>::max());
  void take(std::uint8_t byte);
  /// Nothing more comes.
  void end();

  std::int32_t records() const { return mStream.records(); }
  /// As `DamagedRecs` counts them.
  std::int32_t damaged() const { return mDamaged; }
  /// How many records a complete trailer says there are.
  std::optional<std::int32_t> announced() const;
  /// Where a complete trailer ends; nothing before.
  std::optional<std::uint64_t> trailerEnd() const { return mTrailerEnd; }
  /// How many faults there are.
  std::uint64_t faults() const { return mFaults; }
  /// The first few of them.
  const std::vector<StreamFault>& firstFaults() const { return mFirst; }
  /// Whether reading stopped at bytes that are no records.
  bool foreign() const { return mForeign; }

 private:
  void date(const Record& record) override;
  void cards(const Record& record) override;
  void takeRecords(std::uint8_t byte);
  void takeTrailer(std::uint8_t byte);
  void fault(StreamFault::Kind kind, std::uint64_t offset);

  RecordSink* mReaders;
  std::int32_t mDamaged = 0;
  RecordStream mStream;
  std::uint64_t mOffset = 0;       ///< of the byte being taken
  std::uint64_t mRecordStart = 0;  ///< of the record being collected
  bool mCompleted = false;         ///< the byte being taken completed a record
  bool mForeign = false;
  std::vector<std::uint8_t> mTrailer;
  std::optional<std::uint64_t> mTrailerEnd;
  std::uint64_t mFaults = 0;
  std::vector<StreamFault> mFirst;
};

/// The number of digits with which the beginning of a file reads far better than with `idDigits`;
/// nothing where there is none. Raises the errors of `File`.
std::optional<int> likelierIdDigits(const std::filesystem::path& rawFile, int idDigits);

}  // namespace cronvel
