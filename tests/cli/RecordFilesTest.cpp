#include "cli/RecordFiles.h"

#include <gtest/gtest.h>

#include "cli/CommandFailure.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

TEST(RecordFiles, ADownloadGoesIntoAHexFile) {
  EXPECT_EQ(downloadName("march"), "march.Hex");
  EXPECT_EQ(downloadName("a.b/march"), "a.b/march.Hex");
  EXPECT_EQ(downloadName("march.Hex"), "march.Hex");
  for (const char* name : {"march.hex", "march.bin", "march.2007", "march.", "", "folder/", "\xff"})
    EXPECT_THROW(downloadName(name), CommandFailure) << name;
}

class EarlierFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    mFolder.write("a.Hex", "earlier raw");
    mFolder.write("a.txt", "earlier text");
  }

  TestFolder mFolder;
  RecordFiles mFiles{mFolder.path("a.Hex")};
};

TEST_F(EarlierFilesTest, AreKeptWhenSomethingCame) {
  {
    EarlierFiles earlier(mFiles);
    EXPECT_EQ(earlier.keptAs(), mFolder.path("a.1.Hex"));
    mFolder.write("a.Hex", "new");
  }
  EXPECT_EQ(mFolder.read("a.Hex"), "new");
  EXPECT_EQ(mFolder.read("a.1.Hex"), "earlier raw");
  EXPECT_EQ(mFolder.read("a.1.txt"), "earlier text");
}

TEST_F(EarlierFilesTest, ComeBackWhenNothingCame) {
  {
    EarlierFiles earlier(mFiles);
    for (const char* name : {"a.Hex", "a.txt", "a.ddd", "a.dat"}) mFolder.write(name, "");
  }
  EXPECT_EQ(mFolder.read("a.Hex"), "earlier raw");
  EXPECT_EQ(mFolder.read("a.txt"), "earlier text");
  EXPECT_FALSE(mFolder.has("a.ddd"));
  EXPECT_FALSE(mFolder.has("a.1.Hex"));
}

TEST_F(EarlierFilesTest, NeverReplaceOlderOnes) {
  mFolder.write("a.1.Hex", "oldest");
  mFolder.write("a.2.txt", "somebody's");
  EarlierFiles earlier(mFiles);
  EXPECT_EQ(mFolder.read("a.1.Hex"), "oldest");
  EXPECT_EQ(mFolder.read("a.2.txt"), "somebody's");
  EXPECT_EQ(mFolder.read("a.3.Hex"), "earlier raw");
}

TEST_F(EarlierFilesTest, ComeBackWhereTheNewFileCannotBeMade) {
  std::filesystem::create_directory(mFolder.path("b.Hex"));
  mFolder.write("b.txt", "kept");
  mFolder.write("b.Hex/inside", "kept");
  const RecordFiles files(mFolder.path("b.Hex"));
  EXPECT_THROW(EarlierFiles{files}, RunTimeError);
  EXPECT_EQ(mFolder.read("b.txt"), "kept");
  EXPECT_EQ(mFolder.read("b.Hex/inside"), "kept");
}

}  // namespace
}  // namespace cronvel::test
