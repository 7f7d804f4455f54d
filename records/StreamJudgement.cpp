#include "records/StreamJudgement.h"

#include <algorithm>
#include <span>

#include "records/RecordDigits.h"
#include "runtime/File.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::size_t readBlock = 64 * 1024;
constexpr std::size_t trailerSize = 11;
constexpr std::uint8_t trailerClose = 0xE3;
constexpr std::size_t faultsTold = 3;
constexpr int mostDigits = 38;
/// Enough to tell readings apart, little enough to try them all.
constexpr std::uint64_t sampleSize = 256 * 1024;
/// Fewer records can read well by chance.
constexpr std::uint64_t sampleRecords = 5;
constexpr std::uint64_t worst = std::numeric_limits<std::uint64_t>::max();

/// Two digits of a text; a "?" is no number.
int number(std::string_view text, std::size_t at) {
  if (text[at] == '?' || text[at + 1] == '?') return -1;
  return (text[at] - '0') * 10 + (text[at + 1] - '0');
}

bool within(int value, int lowest, int highest) { return value >= lowest && value <= highest; }

/// How badly a sample reads: 0 is perfect.
std::uint64_t misfit(const StreamJudgement& reading) {
  const auto records = static_cast<std::uint64_t>(reading.records());
  if (reading.foreign() || records < sampleRecords || reading.faults() > records / 10) return worst;
  const auto announced = reading.announced();
  return reading.faults() + (announced && *announced != reading.records() ? 1U : 0U);
}

std::uint64_t misfitOf(const std::filesystem::path& rawFile, int idDigits) {
  StreamJudgement reading(static_cast<std::size_t>(idDigits) / 2);
  reading.read(rawFile, sampleSize);
  return misfit(reading);
}

}  // namespace

void StreamJudgement::read(const std::filesystem::path& rawFile, std::uint64_t limit) {
  File input(rawFile, File::Access::read);
  std::vector<std::uint8_t> block(readBlock);
  while (limit > 0) {
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(limit, readBlock));
    const std::size_t count = input.read(std::span(block).first(wanted));
    if (count == 0) return end();
    for (const std::uint8_t byte : std::span(block).first(count)) take(byte);
    limit -= count;
  }
}

void StreamJudgement::take(std::uint8_t byte) {
  if (mStream.inTrailer())
    takeTrailer(byte);
  else if (!mForeign)
    takeRecords(byte);
  ++mOffset;
}

void StreamJudgement::takeRecords(std::uint8_t byte) {
  const std::size_t pending = mStream.pending();
  mRecordStart = mOffset - pending;
  mCompleted = false;
  try {
    mStream.take(byte);
  } catch (const RunTimeError& error) {
    if (error.number() != ErrorNumber::subscriptOutOfRange) throw;  // a reader's
    mForeign = true;
    return fault(StreamFault::Kind::foreign, mRecordStart);
  }
  if (pending > 0 && mStream.pending() == 0 && !mCompleted)
    fault(StreamFault::Kind::leftOver, mRecordStart);
}

void StreamJudgement::takeTrailer(std::uint8_t byte) {
  if (mTrailer.size() < trailerSize) {
    mTrailer.push_back(byte);
    if (mTrailer.size() < trailerSize) return;
    if (byte == trailerClose)
      mTrailerEnd = mOffset + 1;
    else
      fault(StreamFault::Kind::badTrailer, mOffset);
  } else if (mTrailer.size() == trailerSize) {
    mTrailer.push_back(byte);  // told once
    fault(StreamFault::Kind::afterTrailer, mOffset);
  }
}

void StreamJudgement::end() {
  if (!mForeign && mTrailer.size() < trailerSize) fault(StreamFault::Kind::breaksOff, mOffset);
}

void StreamJudgement::date(const Record& record) {
  mCompleted = true;
  if (!within(number(record.date, 0), 1, 31) || !within(number(record.date, 2), 1, 12) ||
      number(record.date, 4) < 0)
    fault(StreamFault::Kind::date, mRecordStart);
  if (mReaders != nullptr) mReaders->date(record);
}

/// One at a time, as the bytes are taken.
void StreamJudgement::cards(const Record& record) {
  mCompleted = true;
  const auto time = record.cards.last<2>();
  if (std::ranges::any_of(record.cards, isDamaged))
    fault(StreamFault::Kind::digits, mRecordStart);
  else if (time[0] > 0x23 || time[1] > 0x59)
    fault(StreamFault::Kind::time, mRecordStart);
  if (mReaders != nullptr) mReaders->cards(record);
}

void StreamJudgement::fault(StreamFault::Kind kind, std::uint64_t offset) {
  ++mFaults;
  if (mFirst.size() < faultsTold) mFirst.push_back({kind, offset, mStream.records()});
}

std::optional<std::int32_t> StreamJudgement::announced() const {
  if (!mTrailerEnd) return {};
  return mTrailer[6] * 256 + mTrailer[7];
}

std::optional<int> likelierIdDigits(const std::filesystem::path& rawFile, int idDigits) {
  constexpr std::uint64_t farBetter = 4;
  const std::uint64_t given = misfitOf(rawFile, idDigits);
  std::uint64_t least = given / farBetter;
  std::optional<int> likelier;
  for (int digits = 2; digits <= mostDigits && given > 0; digits += 2) {
    const std::uint64_t misfit = misfitOf(rawFile, digits);
    if (misfit > least || digits == idDigits || (likelier && misfit == least)) continue;
    least = misfit;
    likelier = digits;
  }
  return likelier;
}

}  // namespace cronvel
