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
