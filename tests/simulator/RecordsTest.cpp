#include <gtest/gtest.h>

#include <stdexcept>

#include "runtime/RunTimeError.h"
#include "simulator/device/Faults.h"
#include "simulator/memory/Bcd.h"
#include "simulator/memory/Workplace.h"

namespace cronvel::simulator {
namespace {

std::size_t position(const Bytes& trailer, std::size_t offset) {
  return trailer[offset] * 256U + trailer[offset + 1] + trailer[offset + 2] * 32767U;
}

TEST(Records, theTrailersPositionsSpanItsCount) {
  for (const std::size_t start : {0U, 1U, 32766U, 32767U, 40000U, 65000U, 65534U, 65535U}) {
    SCOPED_TRACE(start);
    const RecordMemory memory(makeDays({}), 4, start);
    const RecordStream stream = memory.stream();
    const Bytes& trailer = stream.trailer;
    ASSERT_EQ(trailer.size(), 12U);
    EXPECT_EQ(position(trailer, 1), start);
    std::size_t end = position(trailer, 4);
    if (end < start) end += 65535;
    EXPECT_EQ(end - start, stream.cardRecords);
    EXPECT_EQ(trailer[7] * 256U + trailer[8], stream.cardRecords);
    EXPECT_EQ(trailer.back(), 0xE3);
  }
}

TEST(Records, areThoseOfARealisticWorkplace) {
  Workplace workplace;
  workplace.cards = 12;
  workplace.days = 60;
  const auto days = makeDays(workplace);
  EXPECT_NEAR(static_cast<double>(days.size()), 60 * 6 / 7.0, 1.0) << "Fridays are off";
  std::size_t typed = 0;
  for (const Day& day : days) {
    EXPECT_FALSE(isFriday(day.date));
    int before = 0;
    for (const Punch& punch : day.punches) {
      EXPECT_GE(punch.minute, before);
      EXPECT_LT(punch.minute, 24 * 60);
      before = punch.minute;
      typed += punch.marker != 0 ? 1U : 0U;
    }
    EXPECT_GE(day.punches.size(), 12U) << "most come and go every day";
  }
  EXPECT_GT(typed, 50U);
}

TEST(Records, followFromTheSeed) {
  Workplace workplace;
  const Bytes first = RecordMemory(makeDays(workplace), 4).stream().body;
  EXPECT_EQ(RecordMemory(makeDays(workplace), 4).stream().body, first);
  workplace.seed = 2;
  EXPECT_NE(RecordMemory(makeDays(workplace), 4).stream().body, first);
}

TEST(Records, whatCannotBeIsRefused) {
  Workplace crowd;
  crowd.cards = 1000;
  crowd.days = 60;
  EXPECT_THROW(RecordMemory(makeDays(crowd), 4), std::invalid_argument) << "too many records";
  Workplace shortIds;
  shortIds.cards = 200;
  shortIds.idDigits = 2;
  EXPECT_THROW(RecordMemory(makeDays(shortIds), 2), std::invalid_argument) << "numbers run out";
  EXPECT_THROW(RecordMemory({}, 5), std::invalid_argument);
  Workplace noDay;
  noDay.start = {26, 2, 30};
  EXPECT_THROW(makeDays(noDay), std::invalid_argument);
}

TEST(Records, aLoadedFileIsStreamedAsItIs) {
  const Bytes garbage{0xE3, 0x12, 0xFF, 0x00, 0xBB};
  EXPECT_EQ(spoil(RecordMemory::fromBytes(garbage).stream(), {}), garbage);
  EXPECT_THROW(RecordMemory::fromFile("no such folder/file"), RunTimeError);

  const Bytes raw = spoil(RecordMemory(makeDays({}), 4).stream(), {});
  RecordMemory loaded = RecordMemory::fromBytes(raw);
  EXPECT_EQ(spoil(loaded.stream(DateRange{}), {}), raw);
  Faults faults;
  faults.trailer = Faults::Trailer::missing;
  EXPECT_EQ(spoil(loaded.stream(), faults), Bytes(raw.begin(), raw.end() - 12));
  loaded.clear();
  EXPECT_EQ(loaded.stream().trailer.size(), 12U);
}

TEST(Faults, eachDamagedDigitIsInARecordOfItsOwn) {
  const RecordStream stream = RecordMemory(makeDays({}), 4).stream();
  for (const int count : {1, 7, 100, 60'000}) {
    Faults faults;
    faults.damage = count;
    const Bytes spoiled = spoil(stream, faults);
    std::size_t damagedRecords = 0;
    for (const RecordStream::Span& record : stream.digits) {
      std::size_t damagedBytes = 0;
      for (std::size_t i = 0; i < record.size; ++i) {
        const std::uint8_t byte = spoiled[record.offset + i];
        damagedBytes += fromBcd(byte) ? 0U : 1U;
        EXPECT_LT(byte, 0xA0) << "a damaged digit must not become a marker";
      }
      EXPECT_LE(damagedBytes, 1U);
      damagedRecords += damagedBytes;
    }
    EXPECT_EQ(damagedRecords, std::min(static_cast<std::size_t>(count), stream.digits.size()));
  }
}

TEST(Faults, ofTheTrailer) {
  const RecordStream stream = RecordMemory(makeDays({}), 4).stream();
  const auto with = [&](Faults::Trailer fault) {
    Faults faults;
    faults.trailer = fault;
    const Bytes bytes = spoil(stream, faults);
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(stream.body.size()), bytes.end());
  };
  EXPECT_EQ(with(Faults::Trailer::right), stream.trailer);
  EXPECT_TRUE(with(Faults::Trailer::missing).empty());
  EXPECT_NE(with(Faults::Trailer::wrong).back(), 0xE3);
  EXPECT_NE(with(Faults::Trailer::count)[7], stream.trailer[7]);
}

}  // namespace
}  // namespace cronvel::simulator
