#include <filesystem>

#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

class RecordCheckTest : public ControlTest {
 protected:
  std::u16string hexName() const { return (folder / "rec.Hex").u16string(); }

  std::int16_t check(const Bytes& stream, bool DoCheck = true) {
    folder.write("rec.Hex", {stream.begin(), stream.end()});
    return control->CheckIntegrity(hexName(), DoCheck);
  }

  std::string written(const std::string& extension) const { return folder.read("rec" + extension); }

  const TestFolder folder;
};

/// start 0, end 1 and count 1.
const Bytes oneRecordTrailer{0xE3, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0xE3};

TEST_F(RecordCheckTest, FilesAreByteExact) {
  control->IdLen(8);
  const Bytes stream{0xED, 0x12, 0x34, 0x56, 0x78, 0x09, 0x30,        // before any date
                     0xBB, 0x31, 0x12, 0x07,                          //
                     0x12, 0x34, 0x56, 0x78, 0x09, 0x31,              // right after a date
                     0xA3, 0x00, 0x00, 0x00, 0x01, 0x17, 0x00,        // one record of type A3
                     0x00, 0x00, 0x00, 0x02, 0x17, 0x01,              // and back to ED
                     0xEE, 0x01, 0x01, 0x08,                          // the other date marker
                     0xE9, 0xEF, 0x00, 0x00, 0x00, 0x03, 0x08, 0x00,  // EF keeps the pending type
                     0xCA, 0x99, 0x99, 0xED, 0x00, 0x00, 0x00, 0x04, 0x08, 0x01};  // cut by ED
  EXPECT_EQ(check(stream + Bytes{0xE3, 0, 2, 0, 0, 8, 0, 0, 6, 9, 9, 0xE3}), -1);
  EXPECT_EQ(control->NumOfRecs(), 6);
  EXPECT_EQ(control->DamagedRecs(), 0);
  EXPECT_EQ(written(".txt"),
            "\"12345678\",\"0930\",\"??????\",\"ED\"\r\n"
            "\"12345678\",\"0931\",\"311207\",\"ED\"\r\n"
            "\"00000001\",\"1700\",\"311207\",\"A3\"\r\n"
            "\"00000002\",\"1701\",\"311207\",\"ED\"\r\n"
            "\"00000003\",\"0800\",\"010108\",\"E9\"\r\n"
            "\"00000004\",\"0801\",\"010108\",\"ED\"\r\n");
  EXPECT_EQ(written(".ddd"), "\"311207\"\r\n\"010108\"\r\n");
  EXPECT_EQ(written(".dat"),
            "12345678\t0930\t\r\n"
            "\t0ed\r\nbb\t31\t12\t07\r\n"
            "12345678\t0931\t\r\n"
            "a3\t\r\n00000001\t1700\t\r\n"
            "00000002\t1701\t\r\n"
            "bb\t01\t01\t08\r\n"
            "e9\t\r\n00000003\t0800\t\r\n"
            "00000004\t0801\t\r\n");
}

TEST_F(RecordCheckTest, EveryMarkerSetsItsType) {
  const Bytes typed{0xED, 0xCC, 0xEC, 0xEB, 0xE2, 0xCA, 0xE4, 0xE5, 0xE6, 0xE7,
                    0xE8, 0xE9, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8};
  for (const std::uint8_t marker : typed) {
    check({marker, 0x12, 0x34, 0x09, 0x30});
    const std::string type = hex({{marker}}).substr(1);
    EXPECT_EQ(written(".txt"), "\"1234\",\"0930\",\"??????\",\"" + type + "\"\r\n");
  }
  check({0xEF, 0x12, 0x34, 0x09, 0x30});  // no type yet
  EXPECT_EQ(written(".txt"), "\"1234\",\"0930\",\"??????\",\"00\"\r\n");
}

TEST_F(RecordCheckTest, DamageCountsPerDateByteButPerCardRecord) {
  EXPECT_EQ(check(Bytes{0xBB, 0xAB, 0x12, 0x0C, 0x1A, 0xBC, 0x0D, 0x30, 0x12, 0x34, 0x09, 0x30} +
                  oneRecordTrailer),
            -1);  // damaged digits alone do not make a stream incomplete
  EXPECT_EQ(control->DamagedRecs(), 3);
  EXPECT_EQ(control->NumOfRecs(), 2);
  EXPECT_EQ(written(".txt"),
            "\"1???\",\"0?30\",\"??120?\",\"ED\"\r\n\"1234\",\"0930\",\"??120?\",\"ED\"\r\n");
}

TEST_F(RecordCheckTest, TheTrailerDecides) {
  const Bytes record{0xED, 0x12, 0x34, 0x09, 0x30};
  const std::tuple<const char*, Bytes, int> cases[] = {
      {"nothing at all", {}, 0},
      {"no trailer", record, 0},
      {"a whole one", record + oneRecordTrailer, -1},
      {"cut short", record + Bytes{0xE3, 0, 0}, -1},
      {"bad closing byte", record + Bytes{0xE3, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0}, 0},
      {"bytes behind it", oneRecordTrailer + Bytes(10, 0xED), -1},
      {"markers inside it", {0xE3, 0xED, 0xBB, 0, 0xED, 0xBC, 0, 0, 1, 0xEE, 0xE3, 0xE3}, -1},
  };
  for (const auto& [what, stream, result] : cases)
    for (const bool DoCheck : {true, false}) EXPECT_EQ(check(stream, DoCheck), result) << what;
}

TEST_F(RecordCheckTest, TheTrailersCountMayBe10Off) {
  // Three bytes of the start, three of the end, and what they make.
  const std::pair<Bytes, int> cases[] = {
      {{0, 0, 0, 1, 0, 0}, 256},       // high byte first
      {{0, 0, 1, 0, 20, 1}, 20},       // the third byte counts 32767,
      {{0, 200, 0, 0, 0, 1}, 32567},   //
      {{0xFF, 0xF0, 0, 0, 5, 0}, 20},  // and a ring's end comes before its start
      {{0, 1, 0, 0, 0, 0}, 65534},    {{0, 1, 0, 0, 1, 0}, 0}};
  for (const auto& [positions, records] : cases)
    for (const int difference : {-11, -10, 10, 11}) {
      const int count = records + difference;
      if (count < 0 || count > 0xFFFF) continue;
      const Bytes stream = Bytes{0xE3} + positions +
                           Bytes{static_cast<std::uint8_t>(count / 256),
                                 static_cast<std::uint8_t>(count % 256), 0, 0, 0xE3};
      EXPECT_EQ(check(stream, true), std::abs(difference) > 10 ? 0 : -1) << records << difference;
      EXPECT_EQ(check(stream, false), -1);
    }
}

TEST_F(RecordCheckTest, WhatBelongsToNoRecordOverflows) {
  EXPECT_NO_THROW(check(Bytes(21, 0x11)));
  EXPECT_EQ(messageOf([&] { check(Bytes(22, 0x11)); }),
            "Subscript out of range: more than 21 bytes that belong to no record; this is not a "
            "terminal's record file, or the identifier length is wrong");
  EXPECT_EQ(errorOf([&] { check(oneRecordTrailer + Bytes(11, 0)); }), 9);
  control->IdLen(38);
  EXPECT_NO_THROW(check(Bytes{0xED} + Bytes(42, 0x11)));
  EXPECT_EQ(control->NumOfRecs(), 2);
  control->IdLen(40);
  const Bytes garbage = Bytes{0xBB, 1, 1, 1, 0xED} + Bytes(22, 0x11);
  EXPECT_EQ(errorOf([&] { check(garbage); }), 9);
  EXPECT_EQ(written(".ddd"), "\"010101\"\r\n");  // what was read so far is in the files
  control->IdLen(0);
  check({0xED, 0x09, 0x30});
  EXPECT_EQ(written(".txt"), "\"\",\"0930\",\"??????\",\"ED\"\r\n");
}

TEST_F(RecordCheckTest, CountersStartFromZeroAndAreReported) {
  check(Bytes{0xED, 0x1A, 0x34, 0x09, 0x30});
  EXPECT_EQ(control->DamagedRecs(), 1);
  container.changed.clear();
  check({});
  EXPECT_EQ(control->NumOfRecs() + control->DamagedRecs(), 0);
  EXPECT_EQ(written(".txt") + written(".ddd") + written(".dat"), "");
  EXPECT_EQ(container.changed, (std::vector<std::string>{"NumOfRecs", "DamagedRecs"}));
}

TEST_F(RecordCheckTest, RecordsAcrossReadBlocks) {
  Bytes stream{0xED};
  for (int i = 0; i < 100'000; ++i) stream = std::move(stream) + Bytes{0x12, 0x34, 0x09, 0x30};
  check(stream);
  EXPECT_EQ(control->NumOfRecs(), 100'000);
  EXPECT_EQ(written(".txt").size(), 100'000U * 29);
}

TEST_F(RecordCheckTest, FileErrorsReachTheCaller) {
  EXPECT_EQ(errorOf([&] { control->CheckIntegrity(hexName(), true); }), 53);
  EXPECT_FALSE(folder.has("rec.txt"));
  EXPECT_EQ(messageOf([&] { control->CheckIntegrity(u"", true); }),
            "Bad file name or number: the file name is empty");
  std::filesystem::create_directory(folder / "rec.ddd");
  EXPECT_EQ(errorOf([&] { check({}); }), 75);
  folder.write("rec.txt", "precious");
  EXPECT_EQ(errorOf([&] { control->CheckIntegrity((folder / "rec.txt").u16string(), true); }), 55);
  EXPECT_EQ(written(".txt"), "precious");
}

}  // namespace
}  // namespace cronvel::test
