#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace cronvel {

/// What a stream of records says, as far as it was read.
struct Record {
  /// Card records that differ in nothing else, one after another: the card number, hour and minute
  /// of each, two digits to a byte. Only here may a byte be damaged.
  std::span<const std::uint8_t> cards;
  std::size_t cardSize = 0;      ///< bytes of one of them
  std::string date = "??????";   ///< day, month and year of the last date record
  std::string_view type = "00";  ///< of the card records: the text of their marker
  bool firstDate = false;        ///< no date record came before this one
};

/// Who is told of each record as it is complete.
class RecordSink {
 public:
  virtual ~RecordSink() = default;
  virtual void date(const Record& record) = 0;
  virtual void cards(const Record& record) = 0;
};

/// Reads the stream of a terminal's record memory. It is a sequence of markers (0xA1
/// and up) and data bytes of two decimal digits each. A marker ends the record being collected and
/// says what kind follows: date records (3 bytes: day, month, year) or card records (the card
/// number, hour, minute). 0xE3 starts the trailer of 11 plain bytes: start and end position (3
/// bytes each), record count (2), 2 unused, 0xE3.
class RecordStream {
 public:
  /// `cardBytes` of two digits make a card number. With `DoCheck` the trailer's record count must
  /// agree with its positions to within 10. Damage is added up in `damaged` as it is found: once
  /// for a card record, once for each byte of a date. The sink and the sum outlive it.
  RecordStream(std::size_t cardBytes, bool DoCheck, RecordSink& sink, std::int32_t& damaged)
      : mDoCheck(DoCheck), mSink(sink), mDamaged(damaged) {
    mRecord.cardSize = cardBytes + timeSize;
  }

  /// Whether a byte says what kind of record follows.
  static bool isMarker(std::uint8_t byte) { return markerOf(byte) != nullptr; }

  /// Raises 9 for more than 21 bytes that complete no record. What a byte completes is told alone.
  void take(std::uint8_t byte);
  /// The same for each of them, quicker: tells as many cards as it can at once.
  void take(std::span<const std::uint8_t> bytes);

  /// Card records so far.
  std::int32_t records() const { return mRecords; }
  /// Bytes so far of a record that is not complete.
  std::size_t pending() const { return mCollected; }
  /// Whether the trailer has begun: all further bytes are its.
  bool inTrailer() const { return mMode == Mode::trailer; }
  /// Whether what came so far ends in a valid trailer, or breaks off within it.
  bool whole() const { return mMode == Mode::trailer && mTrailerValid; }

 private:
  enum class Mode : std::uint8_t { none, card, date, trailer };
  struct Marker;
  static constexpr std::size_t timeSize = 2;

  static const Marker* markerOf(std::uint8_t byte);
  void startRecord(const Marker& marker);
  void collect(std::uint8_t byte);
  void endDate();
  void endCard();
  std::size_t cardsAtStart(std::span<const std::uint8_t> bytes) const;
  void tellCards(std::span<const std::uint8_t> bytes);
  void expectOrdinaryCard();
  void judgeTrailer();
  int position(std::size_t offset) const;
  std::span<const std::uint8_t> collected() const { return std::span(mBuffer).first(mCollected); }

  bool mDoCheck;
  RecordSink& mSink;
  std::int32_t& mDamaged;

  std::array<std::uint8_t, 21> mBuffer{};
  std::size_t mCollected = 0;
  Mode mMode = Mode::none;
  Record mRecord;
  bool mDateSeen = false;
  bool mTrailerValid = true;
  std::int32_t mRecords = 0;
};

}  // namespace cronvel
