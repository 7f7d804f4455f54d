#include "cli/CommandLine.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace cronvel::test {
namespace {

/// Runs the command inside the test, without a terminal in front of it.
class CommandLineTest : public testing::Test {
 protected:
  int run(std::vector<std::string> arguments) {
    mOut.str("");
    mErr.str("");
    Io io{mOut, mErr};
    return static_cast<int>(runCommandLine(*mPlatform, io, std::move(arguments)));
  }
  std::string out() const { return mOut.str(); }
  std::string err() const { return mErr.str(); }

  TestFolder mFolder;

 private:
  std::unique_ptr<Platform> mPlatform = Platform::create();
  std::ostringstream mOut;
  std::ostringstream mErr;
};

TEST_F(CommandLineTest, HelpNamesEveryCommand) {
  EXPECT_EQ(run({"--help"}), 0);
  for (const char* command : {"test", "set-clock", "set-daylight", "set-keyboard", "reset-memory",
                              "download", "check", "show", "settings", "Examples"}) {
    EXPECT_NE(out().find(command), std::string::npos) << command;
  }
  EXPECT_EQ(run({"download", "--help"}), 0);
  EXPECT_NE(out().find("--from"), std::string::npos);
  EXPECT_EQ(run({"--version"}), 0);
  EXPECT_EQ(out().rfind("cronvel ", 0), 0U);
}

TEST_F(CommandLineTest, WrongUseIsRefusedInOneSentence) {
  struct Case {
    std::vector<std::string> arguments;
    std::string says;
  };
  const std::vector<Case> cases = {
      {{}, "which command"},
      {{"dance"}, "dance"},
      {{"test"}, "--port"},
      {{"test", "--port", ""}, "--port is empty"},
      {{"test", "--port", "1", "--host", "x"}, "not both"},
      {{"test", "--host", "x"}, "--listen"},
      {{"test", "--listen", "0"}, "1 to 65535"},
      {{"test", "--port", "1", "--device", "100"}, "0 to 99"},
      {{"test", "--port", "1", "--device", "0x1"}, "0 to 99"},
      {{"test", "--port", "99999"}, "0 to 32767"},
      {{"download", "march", "--port", "1", "--speed", "38400"}, "19200"},
      {{"set-keyboard", "256", "--port", "1"}, "0 to 255"},
      {{"set-keyboard", "1", "--listen", "5000"}, "--host"},
      {{"set-keyboard", "1", "--host", "x:y"}, "port"},
      {{"set-keyboard", "1", "--host", ":80"}, "names no host"},
      {{"set-daylight", "21/13", "22/09", "--port", "1"}, "START"},
      {{"set-clock", "--time", "24:00", "--port", "1"}, "23:59:07"},
      {{"set-clock", "--date", "31/12/2007", "--port", "1"}, "two-digit year"},
      {{"set-clock", "--date", "31/02/85", "--port", "1"}, "--weekday"},
      {{"reset-memory", "--port", "1"}, "--yes"},
      {{"download", "march.bin", "--port", "1"}, "march.Hex"},
      {{"download", "march", "--port", "1", "--from", "01/03/07"}, "--to"},
      {{"download", "march", "--listen", "5000", "--buffer"}, "serial line only"},
      {{"download", "march", "--port", "1", "--buffer", "--from", "1/3/07", "--to", "2/3/07"},
       "--buffer"},
      {{"download", "march", "--listen", "5000", "--from", "1/3/07", "--to", "2/3/07"}, "--host"},
      {{"download", "march", "--port", "1", "--id-digits", "5"}, "odd"},
      {{"check", "march.TXT"}, "raw file"},
      {{"show", "march", "--format", "xml"}, "table, csv or json"},
  };
  for (const Case& wrong : cases) {
    EXPECT_EQ(run(wrong.arguments), 2) << testing::PrintToString(wrong.arguments);
    EXPECT_EQ(err().rfind("cronvel: ", 0), 0U) << err();
    EXPECT_NE(err().find(wrong.says), std::string::npos) << err();
    EXPECT_EQ(err().find('\n'), err().size() - 1) << err();
  }
}

TEST_F(CommandLineTest, ErrorsShowNumberAndCause) {
  const std::string missing = mFolder.path("missing/march");
  mFolder.write("garbage.Hex", std::string(40, '\x01'));
  mFolder.write("plain.Hex", "");
  mFolder.write("settings", std::string(100000, '\xff') + "\n\"\n");
  struct Case {
    std::vector<std::string> arguments;
    std::string says;
  };
  const std::vector<Case> cases = {
      {{"test", "--port", "999"}, "error 8002: "},
      {{"test", "--port", mFolder.path("none")}, "error 8002: "},
      {{"download", missing, "--port", "999"}, "error 76: "},
      {{"check", mFolder.path("none.Hex")}, "error 53: "},
      {{"check", mFolder.path("garbage")}, "error 9: "},
      {{"show", mFolder.path("plain")}, "cronvel check"},
      {{"test", "--port", "1", "--settings", mFolder.path("none")}, "error 53: "},
      {{"test", "--port", "1", "--settings", mFolder.path("settings")}, "error 13: "},
  };
  for (const Case& failing : cases) {
    EXPECT_EQ(run(failing.arguments), 3) << testing::PrintToString(failing.arguments) << err();
    EXPECT_NE(err().find(failing.says), std::string::npos) << err();
    EXPECT_EQ(err().find('\n'), err().size() - 1) << err();
  }
  mFolder.write("plain.txt", std::string(100000, '\xff') + "\n\"\n");
  EXPECT_EQ(run({"show", mFolder.path("plain")}), 3);
  EXPECT_NE(err().find("error 13: "), std::string::npos) << err();
}

TEST_F(CommandLineTest, CheckThenShow) {
  mFolder.write("a.Hex", fromHex("BB 31 12 07 00 12 09 30 A3 00 1A 10 15 "
                                 "E3 00 00 00 00 02 00 00 02 00 00 E3"));
  EXPECT_EQ(run({"check", mFolder.path("a"), "--strict"}), 0) << err();
  EXPECT_NE(out().find("2 records, 1 damaged"), std::string::npos) << out();
  EXPECT_NE(err().find("damaged"), std::string::npos);
  EXPECT_EQ(run({"show", mFolder.path("a.txt"), "--format", "csv"}), 0) << err();
  EXPECT_EQ(out(),
            "card,date,time,type\n\"0012\",\"31/12/07\",\"09:30\",\"ED\"\n"
            "\"001?\",\"31/12/07\",\"10:15\",\"A3\"\n");
  EXPECT_EQ(run({"show", mFolder.path("a"), "--limit", "1"}), 0) << err();
  EXPECT_EQ(out(), "card  date      time   type\n0012  31/12/07  09:30  ED\n");
}

TEST_F(CommandLineTest, CheckSaysWhatIsWrongWithTheEnd) {
  const std::string records = "BB 31 12 07 00 12 09 30 ";
  mFolder.write("cut.Hex", fromHex(records));
  mFolder.write("count.Hex", fromHex(records + "E3 00 00 00 00 02 00 00 FF 00 00 E3"));
  EXPECT_EQ(run({"check", mFolder.path("cut")}), 1);
  EXPECT_NE(err().find("not complete"), std::string::npos) << err();
  EXPECT_EQ(run({"check", mFolder.path("count")}), 0) << err();
  EXPECT_EQ(run({"check", mFolder.path("count"), "--strict"}), 1);
  EXPECT_NE(err().find("count"), std::string::npos) << err();
}

TEST_F(CommandLineTest, SettingsAreWrittenAndUsed) {
  const std::string file = mFolder.path("branch.settings");
  EXPECT_EQ(run({"settings", file}), 3);
  EXPECT_EQ(run({"settings", file, "--port", "999", "--device", "08"}), 0) << err();
  EXPECT_EQ(run({"settings", file, "--id-digits", "6"}), 0) << err();
  EXPECT_NE(out().find("DeviceNum         8\n"), std::string::npos) << out();
  EXPECT_NE(out().find("IdLen             6\n"), std::string::npos) << out();
  EXPECT_EQ(run({"test", "--settings", file}), 3);
  EXPECT_NE(err().find("999"), std::string::npos) << err();
}

}  // namespace
}  // namespace cronvel::test
