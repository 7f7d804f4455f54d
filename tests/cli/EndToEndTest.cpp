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

TEST_F(EndToEnd, CardsAndPeople) {
  const SimulatedTerminal terminal("--serial --listen 0 --json " + mFolder.path("journal"));
  const std::string line = " --port " + terminal.line();
  const std::string host = " --host 127.0.0.1:" + terminal.port();
  mFolder.write("cards", "1,2\r\n\"3\"\nx\n-4,12345\n5");
  mFolder.write("names", "ورود\nخروج\n1\n2\n3\n4\n5\n6\n");
  EXPECT_EQ(run("card upload cards" + line), 0) << err();
  EXPECT_EQ(out(), "terminal 1: 4 cards loaded from cards; 3 other fields passed over\n");
  EXPECT_EQ(run("card add 77 78" + host), 0) << err();
  EXPECT_EQ(run("card delete 1" + host), 0) << err();
  EXPECT_EQ(run("mode names --file names" + host), 0) << err();
  EXPECT_EQ(run("message 1234 'مرخصي تاييد شد'" + line), 0) << err();
  EXPECT_EQ(run("group main 42" + line), 0) << err();
  EXPECT_EQ(run("access closed" + host), 0) << err();
  EXPECT_EQ(run("properties" + line), 0) << err();
  const std::string journal = mFolder.read("journal");
  const std::string state = journal.substr(journal.rfind("\"event\":\"state\""));
  for (const char* expected : {"\"cards\":5", "\"main_group\":42", "\"access\":false",
                               "\"message\":\"مرخصي تاييد شد\"", "[\"ورود\",\"خروج\",\"1\""})
    EXPECT_NE(state.find(expected), std::string::npos) << expected << " in " << state;
}

TEST_F(EndToEnd, RefusalsOfTheNewCommands) {
  const SimulatedTerminal terminal("--serial --reply 33 --delay 0");
  const std::string line = " --port " + terminal.line();
  EXPECT_EQ(run("card add 5" + line), 1);
  expectSaid("no reply within 5 s");  // it came too soon
  EXPECT_EQ(run("reader off" + line), 1);
  expectSaid("reply 33");
  EXPECT_EQ(run("card upload missing" + line), 3);
  expectSaid("error 53: ");
  const std::pair<const char*, const char*> wrong[] = {{"card add 10000", "0 to 9999"},
                                                       {"group main 100", "0 to 99"},
                                                       {"reader perhaps", "on or off"},
                                                       {"card delete-all", "--yes"},
                                                       {"mode names a b", "8 names"},
                                                       {"mode active 8", "0 to 7"},
                                                       {"code4 12345", "up to 4"},
                                                       {"card table 1 2", "6"},
                                                       {"alarms schedule missing", "53"},
                                                       {"monitor --host x", "--listen"},
                                                       {"dial", "--tel"}};
  for (const auto& [command, said] : wrong) {
    EXPECT_NE(run(command + line), 0) << command;
    expectSaid(said);
  }
}

TEST_F(EndToEnd, MonitorPrintsEventsUntilCtrlC) {
  const std::string port = freePort();
  const SimulatedTerminal terminal("--serial --event-rate 5 --connect 127.0.0.1:" + port);
  EXPECT_EQ(run("monitor --json --port " + terminal.line(), interruptSoon), 0) << err();
  EXPECT_GT(linesOf(out()), 3);
  EXPECT_EQ(run("monitor --seconds 2 --listen " + port), 0) << err();
  EXPECT_GT(linesOf(out()), 3);
  EXPECT_EQ(run("monitor --seconds 2 --group " + port), 0) << err();
  EXPECT_GT(linesOf(out()), 3);
}

TEST_F(EndToEnd, ThroughAModem) {
  const SimulatedTerminal modem("--modem --modem-delay 200 --modem-lines " + mFolder.path("lines"));
  const std::string line = modem.announced("modem line: ");
  // A pty has no modem lines: a library answers for them.
  const std::string preloaded =
      "timeout -k 1 60 env ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" MODEM_LINES
      " CRONVEL_TEST_MODEM_LINES=" +
      mFolder.path("lines");
  EXPECT_EQ(run("test --tel 5551234 --port " + line, preloaded), 0) << err();
  EXPECT_EQ(out(), "terminal 1: answers\n");
  EXPECT_EQ(run("test --tel 0 --port " + line, preloaded), 1);
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
