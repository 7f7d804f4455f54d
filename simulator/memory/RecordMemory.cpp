#include "simulator/memory/RecordMemory.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

constexpr std::uint8_t dateMarker = 0xBB;
constexpr std::uint8_t trailerMarker = 0xE3;
constexpr std::size_t trailerSize = 12;
constexpr int maxIdDigits = 16;

std::uint64_t firstTooLongCard(int idDigits) {
  std::uint64_t limit = 1;
  for (int i = 0; i < idDigits; ++i) limit *= 10;
  return limit;
}

void checkCards(const Day& day, int idDigits) {
  const std::uint64_t limit = firstTooLongCard(idDigits);
  for (const Punch& punch : day.punches) {
    if (punch.card < limit) continue;
    throw std::invalid_argument("card number " + std::to_string(punch.card) + " has more than " +
                                std::to_string(idDigits) + " digits");
  }
}

void appendDate(RecordStream& stream, const Date& date) {
  stream.bytes.push_back(dateMarker);
  stream.digits.push_back({stream.bytes.size(), 3});
  for (const int part : {date.day, date.month, date.year}) stream.bytes.push_back(toBcd(part));
}

void appendPunch(RecordStream& stream, const Punch& punch, int idDigits) {
  if (punch.marker != 0) stream.bytes.push_back(punch.marker);
  const auto idBytes = static_cast<std::size_t>(idDigits / 2);
  const std::size_t offset = stream.bytes.size();
  stream.digits.push_back({offset, idBytes + 2});
  stream.bytes.resize(offset + idBytes);
  std::uint64_t rest = punch.card;
  for (std::size_t i = idBytes; i-- > 0; rest /= 100) {
    stream.bytes[offset + i] = toBcd(static_cast<int>(rest % 100));
  }
  stream.bytes.push_back(toBcd(punch.minute / 60));
  stream.bytes.push_back(toBcd(punch.minute % 60));
  ++stream.cardRecords;
}

void appendWord(Bytes& bytes, std::size_t value) {
  bytes.push_back(static_cast<std::uint8_t>(value / 256));
  bytes.push_back(static_cast<std::uint8_t>(value % 256));
}

// The third byte counts 32767s: the terminal's own convention.
void appendPosition(Bytes& bytes, std::size_t position) {
  constexpr std::size_t bank = 32767;
  appendWord(bytes, position % bank);
  bytes.push_back(static_cast<std::uint8_t>(position / bank));
}

std::size_t wrapped(std::size_t position) {
  return position > RecordMemory::positions ? position - RecordMemory::positions : position;
}

void appendTrailer(RecordStream& stream, std::size_t start) {
  stream.trailerAt = stream.bytes.size();
  stream.bytes.push_back(trailerMarker);
  appendPosition(stream.bytes, start);
  appendPosition(stream.bytes, wrapped(start + stream.cardRecords));
  appendWord(stream.bytes, stream.cardRecords);
  appendWord(stream.bytes, 0);
  stream.bytes.push_back(trailerMarker);
}

bool endsInTrailer(const Bytes& raw) {
  return raw.size() >= trailerSize && raw.back() == trailerMarker &&
         raw[raw.size() - trailerSize] == trailerMarker;
}

}  // namespace

RecordMemory::RecordMemory(std::vector<Day> days, int idDigits, std::size_t startPosition)
    : mDays(std::move(days)), mIdDigits(idDigits), mStart(startPosition) {
  if (idDigits < 2 || idDigits > maxIdDigits || idDigits % 2 != 0) {
    throw std::invalid_argument("a card number has an even number of digits, 2 to 16, not " +
                                std::to_string(idDigits));
  }
  if (startPosition > positions) {
    throw std::invalid_argument("the record memory has the positions 0 to 65535, not " +
                                std::to_string(startPosition));
  }
  if (size() >= positions) {
    throw std::invalid_argument("the record memory holds 65534 records, not " +
                                std::to_string(size()) + ": choose fewer cards or days");
  }
  for (const Day& day : mDays) checkCards(day, idDigits);
}

RecordMemory RecordMemory::fromBytes(const Bytes& raw) {
  RecordStream stream{.bytes = raw};
  stream.trailerAt = raw.size() - (endsInTrailer(raw) ? trailerSize : 0);
  for (std::size_t i = 0; i < stream.trailerAt; ++i) {
    if (fromBcd(raw[i])) stream.digits.push_back({i, 1});
  }
  RecordMemory memory;
  memory.mRaw = std::move(stream);
  return memory;
}

RecordMemory RecordMemory::fromFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file || std::filesystem::is_directory(path)) {
    throw std::runtime_error("Path/File access error: the record file " + path + " cannot be read");
  }
  const Bytes raw((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return fromBytes(raw);
}

void RecordMemory::clear() {
  mStart = wrapped(mStart + size());
  mDays.clear();
  mRaw.reset();
}

std::size_t RecordMemory::size() const {
  std::size_t count = 0;
  for (const Day& day : mDays) count += day.punches.size();
  return count;
}

RecordStream RecordMemory::stream(const std::optional<DateRange>& range) const {
  if (mRaw) return *mRaw;
  RecordStream stream;
  std::size_t before = 0;
  for (const Day& day : mDays) {
    if (range && day.date < range->first) before += day.punches.size();
    if (range && (day.date < range->first || range->last < day.date)) continue;
    appendDate(stream, day.date);
    for (const Punch& punch : day.punches) appendPunch(stream, punch, mIdDigits);
  }
  appendTrailer(stream, wrapped(mStart + before));
  return stream;
}

}  // namespace cronvel::simulator
