#include "records/RecordStream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "records/RecordDigits.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::uint8_t trailerMarker = 0xE3;
constexpr std::size_t trailerSize = 11;
constexpr std::size_t dateSize = 3;
constexpr int countTolerance = 10;
constexpr std::string_view ordinaryType = "ED";

}  // namespace

/// What a marker byte does: the record kind that follows, and the type code that the next card
/// record gets (empty: keeps the pending one).
struct RecordStream::Marker {
  std::uint8_t byte;
  Mode mode;
  std::string_view type;
};

/// The terminal's marker bytes; null for a data byte.
const RecordStream::Marker* RecordStream::markerOf(std::uint8_t byte) {
  static constexpr Marker markers[] = {
      {0xED, Mode::card, "ED"}, {0xCC, Mode::card, "CC"}, {0xEC, Mode::card, "EC"},
      {0xEB, Mode::card, "EB"}, {0xE2, Mode::card, "E2"}, {0xCA, Mode::card, "CA"},
      {0xE4, Mode::card, "E4"}, {0xE5, Mode::card, "E5"}, {0xE6, Mode::card, "E6"},
      {0xE7, Mode::card, "E7"}, {0xE8, Mode::card, "E8"}, {0xE9, Mode::card, "E9"},
      {0xA1, Mode::card, "A1"}, {0xA2, Mode::card, "A2"}, {0xA3, Mode::card, "A3"},
      {0xA4, Mode::card, "A4"}, {0xA5, Mode::card, "A5"}, {0xA6, Mode::card, "A6"},
      {0xA7, Mode::card, "A7"}, {0xA8, Mode::card, "A8"}, {0xEF, Mode::card, {}},
      {0xBB, Mode::date, {}},   {0xEE, Mode::date, {}},   {trailerMarker, Mode::trailer, {}},
  };
  static constexpr auto byByte = [] {
    std::array<const Marker*, 256> found{};
    for (const Marker& marker : markers) found[marker.byte] = &marker;
    return found;
  }();
  return byByte[byte];
}

void RecordStream::take(std::uint8_t byte) {
  if (mMode == Mode::trailer) {
    collect(byte);
    if (mCollected >= trailerSize) judgeTrailer();
  } else if (const Marker* marker = markerOf(byte)) {
    startRecord(*marker);
  } else {
    collect(byte);
    if (mMode == Mode::date && mCollected == dateSize) endDate();
    if (mMode == Mode::card && mCollected == mRecord.cardSize) endCard();
  }
}

void RecordStream::take(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    std::size_t taken = cardsAtStart(bytes);
    if (taken > 0)
      tellCards(bytes.first(taken));
    else
      take(bytes[taken++]);
    bytes = bytes.subspan(taken);
  }
}

/// How many bytes make whole cards that can be told at once.
std::size_t RecordStream::cardsAtStart(std::span<const std::uint8_t> bytes) const {
  const std::size_t size = mRecord.cardSize;
  if (mMode != Mode::card || mCollected > 0 || size > std::min(bytes.size(), mBuffer.size()))
    return 0;
  const bool alone = mRecord.type != ordinaryType;  // the next ones will be of another type
  const std::size_t digits = digitsAtStart(alone ? bytes.first(size) : bytes);
  return digits - digits % size;
}

void RecordStream::startRecord(const Marker& marker) {
  mMode = marker.mode;
  if (!marker.type.empty()) mRecord.type = marker.type;
  mCollected = 0;
}

void RecordStream::collect(std::uint8_t byte) {
  if (mCollected == mBuffer.size())
    throw RunTimeError(ErrorNumber::subscriptOutOfRange,
                       "more than " + std::to_string(mBuffer.size()) +
                           " bytes that belong to no record; this is not a terminal's record "
                           "file, or the identifier length is wrong");
  mBuffer[mCollected++] = byte;
}

void RecordStream::endDate() {
  for (std::size_t i = 0; i < dateSize; ++i)
    std::memcpy(&mRecord.date[2 * i], &digitPairs[mBuffer[i]], 2);
  mDamaged += static_cast<std::int32_t>(std::ranges::count_if(collected(), isDamaged));
  mRecord.firstDate = !mDateSeen;
  mDateSeen = true;
  mSink.date(mRecord);
  expectOrdinaryCard();
}

void RecordStream::endCard() {
  mDamaged += std::ranges::any_of(collected(), isDamaged) ? 1 : 0;
  tellCards(collected());
}

void RecordStream::tellCards(std::span<const std::uint8_t> bytes) {
  mRecord.cards = bytes;
  mSink.cards(mRecord);
  mRecords += static_cast<std::int32_t>(bytes.size() / mRecord.cardSize);
  expectOrdinaryCard();
}

void RecordStream::expectOrdinaryCard() {
  mMode = Mode::card;
  mRecord.type = ordinaryType;
  mCollected = 0;
}

/// Seen again with every byte that follows; the first 11 decide.
void RecordStream::judgeTrailer() {
  if (mBuffer[trailerSize - 1] != trailerMarker) {
    mTrailerValid = false;
    return;
  }
  const int start = position(0);
  int end = position(3);
  if (end < start) end += 65535;  // the record memory is a ring
  const int count = mBuffer[6] * 256 + mBuffer[7];
  if (mDoCheck && std::abs(count - (end - start)) > countTolerance) mTrailerValid = false;
}

/// The terminal's own convention: the third byte counts 32767, not 65536.
int RecordStream::position(std::size_t offset) const {
  return mBuffer[offset] * 256 + mBuffer[offset + 1] + mBuffer[offset + 2] * 32767;
}

}  // namespace cronvel
