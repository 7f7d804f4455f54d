// What no stream of bytes alone can show: fuzz/Records.cpp tries those against a model.

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

TEST_F(RecordCheckTest, CountersStartFromZeroAndAreReported) {
  check(Bytes{0xED, 0x1A, 0x34, 0x09, 0x30});
  EXPECT_EQ(control->DamagedRecs(), 1);
  container.changed.clear();
  check({});
  EXPECT_EQ(control->NumOfRecs() + control->DamagedRecs(), 0);
  EXPECT_EQ(written(".txt") + written(".ddd") + written(".dat"), "");
  EXPECT_EQ(container.changed, (std::vector<std::string>{"NumOfRecs", "DamagedRecs"}));
}

TEST_F(RecordCheckTest, RecordsAcrossBlocks) {
  Bytes stream{0xED};
  std::string lines;
  for (int i = 0; i < 100'000; ++i) {
    const std::string number = std::to_string(1000 + i % 9000);
    for (const char* byte : {number.data(), number.data() + 2, "08", "59"})
      stream.push_back(static_cast<std::uint8_t>((byte[0] - '0') * 16 + byte[1] - '0'));
    lines += '"' + number + "\",\"0859\",\"??????\",\"ED\"\r\n";
  }
  check(stream);
  EXPECT_EQ(control->NumOfRecs(), 100'000);
  EXPECT_TRUE(written(".txt") == lines);
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
