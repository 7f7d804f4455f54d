#include "cli/CommandLine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

/// Runs the command inside the test, without a terminal in front of it.
class CommandLineTest : public testing::Test {
 protected:
  /// The arguments stand between blanks; "@" is the test's folder, "''" an empty argument.
  int run(const std::string& line) {
    std::vector<std::string> arguments;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      if (word.front() == '@') word = mFolder.path(word.substr(1));
      arguments.push_back(word == "''" ? "" : word);
    }
    mOut.str("");
    mErr.str("");
    Io io{mOut, mErr};
    return static_cast<int>(runCommandLine(*mPlatform, io, std::move(arguments)));
  }
  /// Each line of "arguments -> what is said" fails so, in one sentence.
  void expectFailures(int status, const std::string& cases) {
    std::istringstream rows(cases);
    for (std::string row; std::getline(rows, row);) {
      const std::size_t arrow = row.find("-> ");
      EXPECT_EQ(run(row.substr(0, arrow)), status) << row << ": " << err();
      EXPECT_EQ(err().rfind("cronvel: ", 0), 0U) << err();
      EXPECT_NE(err().find(row.substr(arrow + 3)), std::string::npos) << row << ": " << err();
      EXPECT_EQ(err().find('\n'), err().size() - 1) << err();
    }
  }
  std::string out() const { return mOut.str(); }
  std::string err() const { return mErr.str(); }

  TestFolder mFolder;

 private:
  std::unique_ptr<Platform> mPlatform = Platform::create();
  std::ostringstream mOut;
  std::ostringstream mErr;
};

TEST_F(CommandLineTest, WrongUseIsRefusedBeforeAnythingIsOpened) {
  mFolder.write("a.Hex", "");
  expectFailures(2, R"(-> which command
test -> --port
test --port '' -> --port is empty
test --port 1 --host x -> not both
test --listen 0 -> 1 to 65535
test --port 1 --device 100 -> 0 to 99
set-keyboard 1 --listen 5000 -> --host
set-daylight 21/13 22/09 --port 1 -> START
reset-memory --port 1 -> --yes
set-clock --listen 5000 -> --host
set-clock --date 31/02/85 --port 1 -> --weekday
download a.bin --port 1 -> a.Hex
download a --port 1 --speed 38400 -> 19200
download a --port 1 --from 01/03/07 -> --to
download a --listen 5000 --buffer -> serial line only
download a --port 1 --buffer --from 1/3/07 --to 2/3/07 -> --buffer
check a.TXT -> raw file
dial --port 1 -> --tel
monitor --group 5 --port 1 -> leave out
alarms schedule @a.Hex --port 1 -> has 24)");
}

TEST_F(CommandLineTest, ErrorsShowNumberAndCause) {
  mFolder.write("garbage.Hex", std::string(40, '\x01'));
  mFolder.write("plain.Hex", "");
  mFolder.write("b.txt", "earlier");
  std::filesystem::create_directory(mFolder / "b.Hex");
  expectFailures(3, R"(download @b --port 999 -> error 75:
test --port @none -> error 8002:
download @none/a --port 999 -> error 76:
check @garbage -> error 9:
show @plain -> cronvel check)");
  expectFailures(2, R"(test --settings @garbage.Hex -> error 13:
settings @none -> error 53:
alarms table @none --port 1 -> error 53:)");
  EXPECT_EQ(mFolder.read("b.txt"), "earlier");
}

TEST_F(CommandLineTest, CheckThenShow) {
  mFolder.write("a.Hex", fromHex("BB 31 12 07 00 12 09 30 A3 00 1A 10 15 "
                                 "E3 00 00 00 00 02 00 00 02 00 00 E3"));
  EXPECT_EQ(run("check @a --strict"), 0) << err();
  EXPECT_NE(out().find("2 records, 1 damaged"), std::string::npos) << out();
  EXPECT_NE(err().find("damaged"), std::string::npos);
  EXPECT_EQ(run("show @a.txt --format csv"), 0) << err();
  EXPECT_EQ(out(),
            "card,date,time,type\n\"0012\",\"31/12/07\",\"09:30\",\"ED\"\n"
            "\"001?\",\"31/12/07\",\"10:15\",\"A3\"\n");
}

// What is no record as the check writes it is passed over; no control character gets through.
TEST_F(CommandLineTest, ShowFormatsRecordsAndNothingElse) {
  mFolder.write("a.txt",
                "\"000012\",\"0?30\",\"3?1207\",\"ED\"\r\n"
                "\"1\\\x1b\",\"1700\",\"010108\",\"\xff\"\n"
                "\n\"\n0012,0930,311207,ED\n\"0012\",\"0930\",\"311207\"\n"
                "\"0012\",\"0930\",\"311207\",\"ED\",\"x\"\n\"0012\",\"0930\",\"311207\",\"ED\n"
                "\"0012\",\"930\",\"311207\",\"ED\"\n\"0012\"\"0930\",\"311207\",\"ED\"\n"
                "\"0012\",\"0930\",\"311207\",\"ED\",\n");
  EXPECT_EQ(run("show @a"), 0);
  EXPECT_EQ(out(),
            "card    date      time   type\n000012  3?/12/07  0?:30  ED\n"
            "1\\?     01/01/08  17:00  ?\n");
  EXPECT_NE(err().find("9 lines of "), std::string::npos) << err();
  EXPECT_EQ(run("show @a --format json --limit 1"), 0);
  EXPECT_EQ(out(), R"([
  {"card": "000012", "date": "3?/12/07", "time": "0?:30", "type": "ED"}
]
)");
}

TEST_F(CommandLineTest, CheckSaysWhatIsWrongWithTheEnd) {
  const std::string records = "BB 31 12 07 00 12 09 30 ";
  mFolder.write("cut.Hex", fromHex(records));
  mFolder.write("count.Hex", fromHex(records + "E3 00 00 00 00 02 00 00 FF 00 00 E3"));
  expectFailures(4, "check @cut -> not complete\ncheck @count --strict -> record count");
  EXPECT_EQ(run("check @count"), 0) << err();
}

TEST_F(CommandLineTest, SettingsAreWrittenAndUsed) {
  EXPECT_EQ(run("settings @file --port 999 --device 08"), 0) << err();
  EXPECT_EQ(run("settings @file --id-digits 6"), 0) << err();
  EXPECT_NE(out().find("IdLen             6\n"), std::string::npos) << out();
  EXPECT_NE(out().find("DeviceNum         8\n"), std::string::npos) << out();
  expectFailures(3, "test --settings @file -> 999");
}

}  // namespace
}  // namespace cronvel::test
