#include "records/RecordStream.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::uint8_t trailerMarker = 0xE3;
constexpr std::size_t trailerSize = 11;
constexpr std::size_t dateSize = 3;
constexpr std::size_t timeSize = 2;
constexpr int countTolerance = 10;
constexpr std::string_view ordinaryType = "ED";

constexpr bool isDamaged(std::uint8_t byte) { return (byte >> 4) > 9 || (byte & 0xF) > 9; }

constexpr char digit(int nibble) { return nibble > 9 ? '?' : static_cast<char>('0' + nibble); }

/// The two digits of each byte, the first one lowest.
constexpr auto digitPairs = [] {
  std::array<std::uint16_t, 256> pairs{};
  for (int byte = 0; byte < 256; ++byte)
    pairs[static_cast<std::size_t>(byte)] =
        static_cast<std::uint16_t>(digit(byte >> 4) | digit(byte & 0xF) << 8);
  return pairs;
}();

/// The digits of as many bytes as give a `Word`, written in one piece: whoever copies them next
/// would have to wait for pieces.
template <typename Word>
void readWord(char* out, const std::uint8_t* bytes) {
  static_assert(std::endian::native == std::endian::little);
  Word word = 0;
  for (std::size_t i = 0; i < sizeof word / 2; ++i)
    word |= static_cast<Word>(Word{digitPairs[bytes[i]]} << (16 * i));
  std::memcpy(out, &word, sizeof word);
}

template <std::size_t extent>
void readDigits(std::string& text, std::span<const std::uint8_t, extent> bytes) {
  const std::size_t size = bytes.size();
  if (text.size() != 2 * size) text.resize(2 * size);
  std::size_t i = 0;
  for (; size - i >= 4; i += 4) readWord<std::uint64_t>(&text[2 * i], &bytes[i]);
  for (; size - i >= 2; i += 2) readWord<std::uint32_t>(&text[2 * i], &bytes[i]);
  if (i < size) readWord<std::uint16_t>(&text[2 * i], &bytes[i]);
}

/// Neither damaged nor markers.
bool allDigits(std::span<const std::uint8_t> bytes) {
  static constexpr auto damaged = [] {
    std::array<bool, 256> table{};
    for (int byte = 0; byte < 256; ++byte)
      table[static_cast<std::size_t>(byte)] = isDamaged(static_cast<std::uint8_t>(byte));
    return table;
  }();
  int found = 0;
  for (const std::uint8_t byte : bytes) found |= damaged[byte] ? 1 : 0;
  return found == 0;
}

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
    if (mMode == Mode::card && mCollected == mCardBytes + timeSize) endCard();
  }
}

void RecordStream::take(std::span<const std::uint8_t> bytes) {
  const std::size_t cardSize = mCardBytes + timeSize;
  const bool cardsFit = cardSize <= mBuffer.size();
  while (!bytes.empty()) {
    const bool cardFollows = mMode == Mode::card && mCollected == 0 && bytes.size() >= cardSize;
    if (cardsFit && cardFollows && allDigits(bytes.first(cardSize))) {
      tellCard(bytes.first(cardSize));
      bytes = bytes.subspan(cardSize);
    } else {
      take(bytes.front());
      bytes = bytes.subspan(1);
    }
  }
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
  readDigits(mRecord.date, collected());
  mDamaged += static_cast<std::int32_t>(std::ranges::count_if(collected(), isDamaged));
  mRecord.firstDate = !mDateSeen;
  mDateSeen = true;
  mSink.date(mRecord);
  expectOrdinaryCard();
}

void RecordStream::endCard() {
  mDamaged += std::ranges::any_of(collected(), isDamaged) ? 1 : 0;
  tellCard(collected());
}

void RecordStream::tellCard(std::span<const std::uint8_t> bytes) {
  readDigits(mRecord.card, bytes.first(mCardBytes));
  readDigits(mRecord.time, bytes.last<timeSize>());
  mSink.card(mRecord);
  ++mRecords;
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
