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
test --port 1 --device 160 -> 0 to 159
set-keyboard 1 --listen 5000 -> --host
message 1 «سلام» --port 1 -> « (U+00AB)
mode names 1 2 3 4 5 6 7 abcdefghijklmnopq --port 1 -> a mode name has 16
set-daylight 31/11 45/13 --port 1 -> "31/11" is not a day and month such as 21/03; END: "45/13"
dial --port 1 --tel abc -> no telephone number
set-keyboard 1 --host ::1 -> IPv6
--port 1 test -> options stand after the command
mode set 8 --port 1 -> 0 to 7
code4 12 --port 1 -> has 4 of the keys
download a --host x -> fetches every record
reset-memory --port 1 -> --yes
card delete-all --port 1 -> --yes
set-clock --listen 5000 -> --host
set-clock --date 31/02/85 --port 1 -> --weekday
download a.bin --port 1 -> a.Hex
download a --port 1 --speed 38400 -> 19200
download a --port 1 --from 01/03/07 -> --to
download a --listen 5000 --buffer -> serial line only
download a --port 1 --buffer --from 1/3/07 --to 2/3/07 -> --buffer
dial --port 1 -> --tel
monitor --group 5 --port 1 -> leave out
alarms schedule @a.Hex --port 1 -> has 24)");
}

TEST_F(CommandLineTest, ErrorsShowNumberAndCause) {
  mFolder.write("garbage.Hex", std::string(40, '\x01'));
  mFolder.write("plain.Hex", "");
  std::filesystem::create_directory(mFolder / "b.Hex");
  expectFailures(3, R"(download @b --port 999 -> error 75:
test --port /dev/none -> Invalid port number: /dev/none
download @none/a --port 999 -> error 76:
show @plain -> cronvel check)");
  expectFailures(2, R"(test --settings @garbage.Hex -> error 13:
settings @none -> error 53:
alarms table @none --port 1 -> error 53:)");
}

TEST_F(CommandLineTest, CheckThenShow) {
  mFolder.write("a.Hex", fromHex("BB 31 12 07 00 12 09 30 A3 00 1A 10 15 "
                                 "E3 00 00 00 00 02 00 00 02 00 00 E3"));
  EXPECT_EQ(run("check @a --strict"), 4);
  EXPECT_NE(out().find("2 records, 1 damaged"), std::string::npos) << out();
  EXPECT_EQ(run("show @a.txt --format csv"), 4);
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

/// Days of eight records, as a terminal streams them; 32 bytes of records and a date each.
std::string recordsOfDays(int days) {
  std::string stream;
  for (int day = 1; day <= days; ++day) {
    stream += fromHex("BB 0" + std::to_string(day) + " 12 07");
    for (int i = 0; i < 8; ++i)
      stream += fromHex("10 2" + std::to_string(i) + " 07 5" + std::to_string(i));
  }
  return stream;
}

std::string trailer(const std::string& count) {
  return fromHex("E3 00 00 00 00 10 00 " + count + " 00 00 E3");
}

TEST_F(CommandLineTest, AStreamThatIsNotWholeIsToldWithThePlace) {
  const std::string whole = recordsOfDays(2) + trailer("00 10");
  struct Case {
    std::string stream;
    std::string command;
    std::string said;
  };
  const auto changed = [&](std::size_t at, const char* bytes, std::size_t removed = 1) {
    return std::string(whole).replace(at, removed, fromHex(bytes));
  };
  const std::vector<Case> cases{
      {whole.substr(0, 50), "check @a", "at byte 50, after record 10: the stream breaks off"},
      {whole.substr(0, 80), "check @a", "at byte 80, after record 16: the stream breaks off"},
      {changed(12, "1F"), "check @a", "at byte 12, in record 3: a damaged digit"},
      {changed(14, "24"), "check @a", "at byte 12, in record 3: an impossible time"},
      {changed(15, "60"), "check @a", "at byte 12, in record 3: an impossible time"},
      {changed(38, "13"), "check @a", "at byte 37, between records 8 and 9: an impossible date"},
      {changed(33, "", 2), "check @a", "at byte 32, between records 7 and 8: bytes that complete"},
      {changed(83, "00"), "check @a", "at byte 83, after record 16: the end is damaged"},
      {whole + "x", "check @a", "at byte 84, after record 16: bytes follow the end"},
      {std::string(30, '\x01'), "check @a", "at byte 0, before any record: bytes that are no"},
      {changed(6, "99 99 10 22 99 99 10 23 99 99 10 24 99 99", 14), "check @a",
       "4 places are wrong, the first are at byte 4"},
      {recordsOfDays(2) + trailer("00 1B"), "check @a --strict", "16 records came, but"},
      {recordsOfDays(9) + trailer("00 48"), "check @a --id-digits 12", "use --id-digits 4"},
  };
  for (const Case& each : cases) {
    mFolder.write("a.Hex", each.stream);
    expectFailures(4, each.command + " -> " + each.said);
  }
  mFolder.write("a.Hex", recordsOfDays(2) + trailer("00 1A"));
  EXPECT_EQ(run("check @a --strict"), 0);  // a few more or less are said
  EXPECT_NE(err().find("16 records came, but"), std::string::npos) << err();
}

TEST_F(CommandLineTest, ACheckTakesNobodysFiles) {
  const std::string whole = recordsOfDays(2) + trailer("00 10");
  mFolder.write("a.Hex", whole);
  ASSERT_EQ(run("check @a"), 0) << err();
  const std::string earlier = mFolder.read("a.txt");
  mFolder.write("a.bin", whole);
  mFolder.write("b.raw", whole);
  mFolder.write("b.dat", "notes\n");
  mFolder.write("c.raw", whole);
  mFolder.write("c.bin", whole);
  std::filesystem::create_directory(mFolder / "d.Hex");
  expectFailures(2, R"(check @a.bin -> belongs to
show @a.bin -> belongs to
check @b.raw -> something else
check @a.txt -> raw file
download @b --port @none -> something else)");
  EXPECT_EQ(run("check @c.raw"), 0) << err();
  expectFailures(2, "check @c.bin -> belongs to");
  expectFailures(3, "check @d.Hex -> not a regular file\ncheck /dev/null -> not a regular file");
  mFolder.write("a.Hex", std::string(40, '\x01'));
  expectFailures(4, "check @a -> no terminal's records");
  EXPECT_EQ(run("show @a"), 4);
  EXPECT_EQ(mFolder.read("a.txt"), earlier);
  EXPECT_EQ(mFolder.read("b.dat"), "notes\n");
}

TEST_F(CommandLineTest, ACardListIsReadBeforeAnythingIsSent) {
  const std::vector<std::pair<std::string, std::string>> refused{
      {"1\n&H10\n", "line 2, column 1: \"&H10\""},
      {"1,2, &O17", "line 1, column 6: \"&O17\""},
      {"-4", "\"-4\" is no card number"},
      {"12345", "more than the 4 digits"},
      {"1\r\n1e3", "line 2, column 1: \"1e3\""},
      {"7.0", "\"7.0\""},
      {"+6", "\"+6\""},
      {"card\n12", "line 1, column 1: \"card\""},
      {"\"Ahmadi, Reza\",12,1021", "line 1, column 1: \"Ahmadi, Reza\""},
      {"12,1021\n13,1022", "line 1, column 4: a second column"},
      {"12\n13,1022", "line 2, column 4: a second column"},
      {"12;13", "\"12;13\""},
      {"12\t13", "\"12?13\""},
      {"\"12\"13", "line 1, column 5: a separator"},
      {"12\n\"13", "line 2, column 1: a quote"},
      {" ,\n\n", "holds no card number"},
      {"", "holds no card number"},
      {"\xFF\xFE"
       "1",
       "UTF-16"},
      {std::string("1\0002\000", 4), "UTF-16"},
  };
  for (const auto& [list, said] : refused) {
    mFolder.write("list", list);
    expectFailures(2, "card upload @list --port @none -> " + said);
  }
  expectFailures(2, "card upload /dev/null --port 1 -> not a regular file");
  mFolder.write("list",
                "\xEF\xBB\xBF"
                "0012\n\"7\" \n 9 ,\n12\n");
  EXPECT_EQ(run("card upload @list --port @none"), 3);
  EXPECT_NE(err().find("byte order mark"), std::string::npos) << err();
  EXPECT_NE(err().find("card 12 stands more than once"), std::string::npos) << err();
  EXPECT_NE(err().find("lines 1 and 4"), std::string::npos) << err();
}

TEST_F(CommandLineTest, SettingsAreWrittenAndUsed) {
  EXPECT_EQ(run("settings @file --port 999 --device 08"), 0) << err();
  EXPECT_EQ(run("settings @file --id-digits 6"), 0) << err();
  EXPECT_NE(out().find("IdLen             6\n"), std::string::npos) << out();
  EXPECT_NE(out().find("DeviceNum         8\n"), std::string::npos) << out();
  expectFailures(3, "test --settings @file -> 999");
}

TEST_F(CommandLineTest, TextIsPrintedForHosts) {
  EXPECT_EQ(run("text Hello"), 0);
  EXPECT_EQ(out(), "olleH\n");
  EXPECT_EQ(err(), "row      \"\u202DHello\u202C\" from the left\nreading  \"Hello\"\n");
  EXPECT_EQ(run("text Hello --json --mode-name"), 0);
  EXPECT_EQ(out(), R"({"text":"olleH","row":"Hello","codes":"48 65 6C 6C 6F","reading":"Hello"})"
                   "\n");
  EXPECT_EQ(run("text Hello --as-is"), 0);
  EXPECT_EQ(out(), "Hello\n");
  EXPECT_NE(err().find("olleH"), std::string::npos) << err();
}

}  // namespace
}  // namespace cronvel::test
