// The real command against the real simulated terminal.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "platform/Platform.h"
#include "tests/support/SimulatedTerminal.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

std::ptrdiff_t linesOf(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n');
}

class EndToEnd : public testing::Test {
 protected:
  /// Runs the command in the test's folder and returns its exit status. `before` is a wrapper.
  int run(const std::string& arguments, const std::string& before = "timeout -k 1 60") {
    shell("cd " + shellQuoted(mFolder.path("")) + " && { " + before + " " CRONVEL_COMMAND " " +
          arguments + " </dev/null >out 2>err; echo $? >status; }");
    const std::string status = mFolder.read("status");
    return status.empty() ? -1 : std::stoi(status);
  }
  std::string out() const { return mFolder.read("out"); }
  std::string err() const { return mFolder.read("err"); }
  void expectSaid(const std::string& text) const {
    EXPECT_NE(err().find(text), std::string::npos) << "expected: " << text << "\ngot: " << err();
  }

  /// A port of this machine that nobody has.
  std::string freePort() {
    const auto sockets = mPlatform->makeSocketArray();
    sockets->at(0).LocalPort(0);
    sockets->at(0).Listen();
    return std::to_string(sockets->at(0).LocalPort());
  }
  /// After a 130: what the message says is in the file, and it can be read.
  void expectSavedAfterInterrupt() {
    const std::size_t bytes = mFolder.read("a.Hex").size();
    EXPECT_GT(bytes, 0U);
    expectSaid("interrupted; " + std::to_string(bytes) + " bytes are in a.Hex");
    EXPECT_EQ(run("check a"), 1);
    EXPECT_NE(out().find(" records, 0 damaged"), std::string::npos) << out();
  }

  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();
};

constexpr const char* interruptSoon = "timeout --foreground --preserve-status -s INT 3";

TEST_F(EndToEnd, SerialCommands) {
  const SimulatedTerminal terminal("--serial --terminals 1,12");
  const std::string link = " --port " + terminal.line() + " --device ";
  EXPECT_EQ(run("test" + link + "12"), 0) << err();
  EXPECT_EQ(out(), "terminal 12: answers\n");
  EXPECT_EQ(run("set-clock --time 23:59:07 --date 31/12/07" + link + "1"), 0) << err();
  EXPECT_NE(out().find("31/12/07, day of week 2"), std::string::npos) << out();
  EXPECT_EQ(run("set-daylight 21/03 22/09" + link + "1"), 0) << err();
  EXPECT_EQ(run("set-keyboard 3" + link + "1"), 0) << err();
  EXPECT_EQ(run("reset-memory --yes" + link + "1"), 0) << err();
  EXPECT_EQ(run("test" + link + "7 --trace"), 1);
  expectSaid("settings 600,m,8,1");
  expectSaid("no reply within 5 s");
}

TEST_F(EndToEnd, SerialDownloadKeepsTheEarlierOne) {
  const SimulatedTerminal terminal("--serial --cards 5 --days 3");
  const std::string link = " --port " + terminal.line();
  EXPECT_EQ(run("download a" + link), 0) << err();
  EXPECT_NE(out().find("0 damaged"), std::string::npos) << out();
  EXPECT_EQ(err(), "");
  const std::string first = mFolder.read("a.Hex");
  EXPECT_EQ(run("show a --format csv"), 0) << err();
  EXPECT_EQ(linesOf(out()) - 1, linesOf(mFolder.read("a.txt")));
  EXPECT_EQ(run("download a --buffer" + link), 0) << err();
  EXPECT_EQ(mFolder.read("a.1.Hex"), first);
  EXPECT_EQ(mFolder.read("a.Hex"), first);
}

TEST_F(EndToEnd, NothingComesAndTheEarlierFileStays) {
  const SimulatedTerminal terminal("--serial --silent");
  mFolder.write("a.Hex", "earlier");
  EXPECT_EQ(run("download a --port " + terminal.line()), 1);
  expectSaid("nothing came");
  EXPECT_EQ(mFolder.read("a.Hex"), "earlier");
  EXPECT_FALSE(mFolder.has("a.1.Hex"));
}

TEST_F(EndToEnd, StreamCutShortOrDamaged) {
  const SimulatedTerminal cut("--serial --cards 5 --days 3 --cut 60");
  EXPECT_EQ(run("download a --port " + cut.line()), 1);
  expectSaid("not complete");
  EXPECT_EQ(mFolder.read("a.Hex").size(), 60U);
  const SimulatedTerminal damaged("--serial --cards 5 --days 3 --damage 3");
  EXPECT_EQ(run("download b --port " + damaged.line()), 0) << err();
  expectSaid("damaged digits");
}

TEST_F(EndToEnd, CtrlCKeepsWhatArrived) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30");
  EXPECT_EQ(run("download a --speed 1200 --port " + terminal.line(), interruptSoon), 130);
  expectSavedAfterInterrupt();
}

TEST_F(EndToEnd, SupervisorThatSignalsTwiceKeepsWhatArrived) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30");
  EXPECT_EQ(run("download a --speed 1200 --port " + terminal.line(), "timeout --preserve-status 3"),
            130);
  expectSavedAfterInterrupt();
}

TEST_F(EndToEnd, AKilledDownloadKeepsEveryBlockThatCameBefore) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30 --json " +
                                   mFolder.path("journal"));
  run("download a --speed 1200 --port " + terminal.line(), "timeout -s KILL 4");
  // At 109 bytes a second, some 3 s of streaming: all of it is on disk but what was on its way.
  const std::string killed = mFolder.read("a.Hex");
  EXPECT_GT(killed.size(), 150U);
  EXPECT_EQ(run("download b --speed 19200 --port " + terminal.line()), 0) << err();
  EXPECT_EQ(mFolder.read("b.Hex").substr(0, killed.size()), killed);
}

TEST_F(EndToEnd, DiskFullInTheMiddleKeepsWhatArrived) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30");
  EXPECT_EQ(run("download a --port " + terminal.line(),
                "timeout 30 sh -c 'trap \"\" XFSZ; ulimit -f 1; exec \"$@\"' sh"),
            3);
  expectSaid("error 61: ");
  expectSaid("bytes are in a.Hex");
  EXPECT_EQ(mFolder.read("a.Hex").size(), 512U);
}

TEST_F(EndToEnd, LinePulledInTheMiddleKeepsWhatArrived) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30 --seconds 3");
  EXPECT_EQ(run("download a --speed 1200 --port " + terminal.line()), 3);
  expectSaid("error 8020: ");
  expectSaid("bytes are in a.Hex");
}

TEST_F(EndToEnd, NetworkBothWays) {
  const std::string port = freePort();
  const SimulatedTerminal caller("--connect 127.0.0.1:" + port + " --cards 5 --days 3");
  const SimulatedTerminal host("--listen 0 --cards 5 --days 3 --start 01/03/07");
  const std::string both = " --listen " + port + " --host 127.0.0.1:" + host.port();
  EXPECT_EQ(run("test" + both), 0) << err();
  EXPECT_EQ(run("set-clock" + both), 0) << err();
  EXPECT_EQ(run("set-clock --listen " + port), 0) << err();
  expectSaid("the date is not set");
  EXPECT_EQ(run("download all" + both), 0) << err();
  EXPECT_EQ(run("download some --from 01/03/07 --to 31/03/07" + both), 0) << err();
  EXPECT_GT(mFolder.read("all.Hex").size(), 50U);
  EXPECT_GT(mFolder.read("some.Hex").size(), 50U);
}

TEST_F(EndToEnd, NetworkFailures) {
  const std::string port = freePort();
  EXPECT_EQ(run("set-keyboard 1 --host 127.0.0.1:" + port), 3);
  expectSaid("error 10061: ");
  EXPECT_EQ(run("set-keyboard 1 --host no-such-host.invalid"), 3);
  expectSaid("error 11001: ");
  EXPECT_EQ(run("download a --wait 1 --listen " + port), 1);
  expectSaid("no terminal connected in on port " + port + " within 1 s");
  EXPECT_FALSE(mFolder.has("a.Hex"));
  EXPECT_EQ(run("download a --listen " + port, interruptSoon), 130);
  EXPECT_FALSE(mFolder.has("a.Hex"));
  const auto sockets = mPlatform->makeSocketArray();
  sockets->at(0).LocalPort(std::stoi(port));
  sockets->at(0).Listen();
  EXPECT_EQ(run("test --listen " + port), 3);
  expectSaid("error 10048: ");
}

TEST_F(EndToEnd, PortBusyOrNoPort) {
  const auto line = mPlatform->makeSerialLineEnd("");
  const auto holder = mPlatform->makeSerialPort();
  mPlatform->mapCommPort(1, line->path());
  holder->PortOpen(true);
  EXPECT_EQ(run("test --port " + line->path()), 3);
  expectSaid("error 8005: ");
  mFolder.write("file", "");
  EXPECT_EQ(run("test --port ./file"), 3);
  expectSaid("error 80");
}

TEST_F(EndToEnd, DiskFullLosesNothing) {
  mFolder.write("a.Hex", fromHex("BB 31 12 07 00 12 09 30"));
  std::filesystem::create_symlink("/dev/full", mFolder.path("a.txt"));
  EXPECT_EQ(run("check a"), 3);
  expectSaid("error 61: ");
  EXPECT_EQ(mFolder.read("a.Hex").size(), 8U);
  mFolder.write("b.txt", "\"0012\",\"0930\",\"311207\",\"ED\"\r\n");
  EXPECT_EQ(run("show b", "timeout 9 sh -c 'exec \"$@\" >/dev/full' sh"), 3);
  expectSaid("error 57: ");
}

}  // namespace
}  // namespace cronvel::test
