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
    return runShell(before + " " CRONVEL_COMMAND " " + arguments + " </dev/null >out 2>err");
  }
  /// Runs it until the condition holds, then does what `end` says to the process.
  int runUntil(const std::string& condition, const std::string& end, const std::string& arguments) {
    return runShell(": >out; env --default-signal=INT " CRONVEL_COMMAND " " + arguments +
                    " </dev/null >out 2>err & pid=$!; until " + condition +
                    " || ! kill -0 $pid; do sleep 0.02; done 2>/dev/null; " + end + "; wait $pid");
  }
  void expectDone(std::initializer_list<std::string> commands, const std::string& link) {
    for (const std::string& command : commands) EXPECT_EQ(run(command + link), 0) << err();
  }
  std::string out() const { return mFolder.read("out"); }
  std::string err() const { return mFolder.read("err"); }
  void expectSaid(const std::string& text) const {
    EXPECT_NE(err().find(text), std::string::npos) << "expected: " << text << "\ngot: " << err();
  }

  std::string freePort() const { return std::to_string(test::freePort(*mPlatform, 10000)); }

  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();

 private:
  int runShell(const std::string& script) {
    shell("cd " + shellQuoted(mFolder.path("")) + " && { " + script + "; echo $? >status; }");
    const std::string status = mFolder.read("status");
    return status.empty() ? -1 : std::stoi(status);
  }
};

constexpr const char* hasLines = "[ $(wc -l <out) -gt 3 ]";
constexpr const char* interrupt = "kill -INT $pid";

TEST_F(EndToEnd, SerialCommands) {
  const SimulatedTerminal terminal("--serial --terminals 1,12");
  const SimulatedTerminal refusing("--serial --reply 33");
  const std::string link = " --port " + terminal.line() + " --device ";
  expectDone({"reset-memory --yes", "set-clock --time 23:59:07 --date 31/12/07"}, link + "1");
  EXPECT_NE(out().find("31/12/07, day of week 2"), std::string::npos) << out();
  expectDone({"set-daylight 21/03 22/09", "set-keyboard 3", "test"}, link + "12");
  EXPECT_EQ(out(), "terminal 12: answers\n");
  EXPECT_EQ(run("test" + link + "7 --trace"), 5);
  expectSaid("settings 600,m,8,1");
  expectSaid("no reply within 5 s");
  EXPECT_EQ(run("reader off --port " + refusing.line()), 1);
  expectSaid("reply 33");
}

TEST_F(EndToEnd, SerialDownloadKeepsTheEarlierOne) {
  // The line has to stand at the stream's speed before the stream begins: on a busy machine the
  // command may be held up after its last byte for longer than a terminal usually waits.
  const SimulatedTerminal terminal("--serial --cards 5 --days 3 --delay 2000");
  const std::string link = " --port " + terminal.line();
  EXPECT_EQ(run("download a" + link), 0) << err();
  EXPECT_NE(out().find("0 damaged"), std::string::npos) << out();
  EXPECT_EQ(err(), "");
  const std::string first = mFolder.read("a.Hex");
  for (const char* name : {"a.1.dat", "a.2.txt"}) mFolder.write(name, "somebody's");
  EXPECT_EQ(run("download a --buffer" + link), 0) << err();
  EXPECT_EQ(mFolder.read("a.3.Hex"), first);
  EXPECT_EQ(mFolder.read("a.2.txt"), "somebody's");
  EXPECT_EQ(mFolder.read("a.Hex"), first);
}

TEST_F(EndToEnd, NothingOrTooLittleOrDamage) {
  mFolder.write("a.Hex", "earlier");
  const auto download = [this](const std::string& fault) {
    const SimulatedTerminal terminal("--serial --cards 5 --days 3 " + fault);
    return run("download a --overwrite --port " + terminal.line());
  };
  EXPECT_EQ(download("--silent"), 5);
  expectSaid("nothing came");
  EXPECT_FALSE(mFolder.has("a.part.Hex"));
  EXPECT_EQ(download("--cut 60"), 4);
  expectSaid("at byte 60, ");
  EXPECT_EQ(mFolder.read("a.part.Hex").size(), 60U);
  EXPECT_EQ(download("--damage 3"), 4);
  expectSaid("a damaged digit");
  expectSaid("an earlier such part is kept as a.part.1.Hex");
  EXPECT_EQ(mFolder.read("a.Hex"), "earlier");
  EXPECT_EQ(download(""), 0) << err();
  EXPECT_GT(mFolder.read("a.txt").size(), 60U);
  EXPECT_FALSE(mFolder.has("a.1.Hex"));
}

// A supervisor such as timeout(1) signals the program and again its group.
TEST_F(EndToEnd, AnInterruptOrAKillKeepsWhatArrived) {
  const SimulatedTerminal terminal("--serial --cards 50 --days 30");
  const std::string second = CRONVEL_COMMAND " download a --port no-line; echo $? >second; ";
  for (const auto& [end, status] : {std::pair(second + interrupt, 130),
                                    {"kill $pid; kill $pid", 130},
                                    {"kill -KILL $pid", 137}}) {
    std::filesystem::remove(mFolder / "a.part.Hex");
    const std::string download = "download a --speed 1200 --port " + terminal.line();
    EXPECT_EQ(runUntil("[ -s a.part.Hex ]", end, download), status);
    const std::string bytes = std::to_string(mFolder.read("a.part.Hex").size());
    if (status == 130)
      expectSaid("interrupted; the " + bytes + " bytes that came are in a.part.Hex");
    EXPECT_EQ(run("check a.part"), 4);
    EXPECT_FALSE(mFolder.has("a.Hex"));
    EXPECT_NE(out().find(" 0 damaged"), std::string::npos) << out();
  }
  EXPECT_EQ(mFolder.read("second"), "6\n");
}

TEST_F(EndToEnd, DiskFullInACheckKeepsTheEarlierFiles) {
  std::string raw = fromHex("BB 31 12 07");
  for (int i = 0; i < 10000; ++i) raw += fromHex("10 20 07 50");  // more than a buffer of text
  mFolder.write("a.Hex", raw);
  mFolder.write("a.txt", "\"0012\",\"0930\",\"311207\",\"ED\"\r\n");
  EXPECT_EQ(run("check a", "timeout 30 sh -c 'ulimit -f 1; exec \"$@\"' sh"), 3);
  expectSaid("error 61: ");
  EXPECT_EQ(mFolder.read("a.txt").size(), 29U);
  EXPECT_FALSE(mFolder.has("a.checking.txt"));
}

TEST_F(EndToEnd, NetworkBothWays) {
  const std::string port = freePort();
  const SimulatedTerminal caller("--connect 127.0.0.1:" + port + " --cards 5 --days 3");
  const SimulatedTerminal host("--listen 0 --cards 5 --days 3 --start 01/03/07");
  const std::string both = " --listen " + port + " --host 127.0.0.1:" + host.port();
  expectDone({"test", "set-clock", "download all", "download some --from 01/03/07 --to 31/03/07"},
             both);
  EXPECT_GT(mFolder.read("all.Hex").size(), 50U);
  EXPECT_EQ(run("set-clock --listen " + port + " --host 127.0.0.1:1"), 5);
  EXPECT_NE(out().find("time set to"), std::string::npos) << out();
  expectSaid("the date is not set: error 10061");
}

TEST_F(EndToEnd, NetworkFailures) {
  const std::string port = freePort();
  EXPECT_EQ(run("set-keyboard 1 --host 127.0.0.1:" + port), 5);
  expectSaid("error 10061: ");
  EXPECT_EQ(run("download a --wait 1 --listen " + port), 5);
  expectSaid("no terminal connected in on port " + port + " within 1 s");
  EXPECT_EQ(runUntil("[ -e a.part.Hex ]", interrupt, "download a --listen " + port), 130);
  EXPECT_FALSE(mFolder.has("a.Hex") || mFolder.has("a.part.Hex"));
}

TEST_F(EndToEnd, CardsAndPeople) {
  const SimulatedTerminal terminal("--serial --listen 0 --json " + mFolder.path("journal"));
  const std::string line = " --port " + terminal.line();
  mFolder.write("cards", "1\r\n\"2\"\n\n3\n2\n5,");
  mFolder.write("names", "\uFEFFورود\nخروج\n1\n2\n3\n4\n5\n6\n");
  EXPECT_EQ(run("card upload cards" + line), 0) << err();
  EXPECT_EQ(out(), "terminal 1: 4 cards loaded from cards\n");
  expectDone({"card add 77 78", "card delete 1", "mode names --file names", "access closed"},
             " --host 127.0.0.1:" + terminal.port());
  expectDone({"message 1234 'سلام، ساعت 8:30'", "group main 42", "properties"}, line);
  const std::string journal = mFolder.read("journal");
  const std::string state = journal.substr(journal.rfind("\"event\":\"state\""));
  for (const char* expected : {"\"cards\":5", "\"main_group\":42", "\"access\":false",
                               "\"message\":\"سلام، ساعت 8:30\",\"message_row\":\"8:30 ﺕﻋﺎﺳ ،ﻡﻻﺳ",
                               "[\"ورود\",\"خروج\",\"1\""})
    EXPECT_NE(state.find(expected), std::string::npos) << expected << " in " << state;
}

TEST_F(EndToEnd, MonitorPrintsEventsUntilItEnds) {
  const std::string port = freePort();
  const SimulatedTerminal terminal("--serial --event-rate 20 --connect 127.0.0.1:" + port);
  const std::string json = "monitor --json --port " + terminal.line();
  EXPECT_EQ(runUntil(hasLines, interrupt, json), 130) << err();
  EXPECT_EQ(out().rfind("{\"time\":", 0), 0U) << out();
  EXPECT_EQ(run("test --port " + terminal.line()), 0) << err();  // it talks no more
  EXPECT_EQ(run("monitor --seconds 2 --group " + port), 0) << err();
  EXPECT_GT(linesOf(out()), 3);
}

TEST_F(EndToEnd, ThroughAModem) {
  const std::string options = "--modem --modem-delay 200 --modem-lines " + mFolder.path("lines") +
                              " --json " + mFolder.path("journal");
  const SimulatedTerminal modem(options);
  const std::string line = " --tel 05551234 --port " + modem.announced("modem line: ");
  // A pty has no modem lines: a library answers for them.
  const std::string preloaded =
      "timeout -k 1 60 env ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" MODEM_LINES
      " CRONVEL_TEST_MODEM_LINES=" +
      mFolder.path("lines");
  EXPECT_EQ(run("download a --buffer" + line, preloaded), 0) << err();
  EXPECT_EQ(run("test" + line, preloaded), 0) << err();  // the first call was hung up
  EXPECT_EQ(out(), "terminal 1: answers\n");
  for (const char* said : {"\"number\":\"05551234\"", "\"dtr-fell\"", "\"hang-up\""})
    EXPECT_NE(mFolder.read("journal").find(said), std::string::npos) << said;
  const SimulatedTerminal busy(options + " --modem-answer busy");
  EXPECT_EQ(run("test --tel 55 --port " + busy.announced("modem line: "), preloaded), 6);
  EXPECT_EQ(err(), "cronvel: the line is busy\n");
}

TEST_F(EndToEnd, OutputThatCannotBeWrittenIsAnError) {
  mFolder.write("a.txt", "\"0012\",\"0930\",\"311207\",\"ED\"\r\n");
  EXPECT_EQ(run("show a", "timeout 9 sh -c 'exec \"$@\" >/dev/full' sh"), 3);
  expectSaid("error 57: ");
}

}  // namespace
}  // namespace cronvel::test
