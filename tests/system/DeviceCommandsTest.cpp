// Every command that came with reader, cards, modes and the rest, against the simulated terminal.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <random>

#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

constexpr int noReply = -1;

/// A command, with its result as the reply byte: 24 for True, 0 for False.
struct Command {
  const char* name;
  std::function<int(Cronvel&, const std::u16string& sRemoteHost)> call;
  bool repliesWithByte = false;
};

int byteOf(bool accepted) { return accepted ? 24 : 0; }

std::vector<Command> commands() {
  using C = Cronvel&;
  using H = const std::u16string&;
  const HostArray<std::u16string> names{u"ورود", u"خروج", u"1", u"2", u"3", u"4", u"5", u"6"};
  const HostArray<bool> active{true, false, true, false, true, false, true, false};
  const HostArray<std::uint8_t> table(Bytes(210, 12));
  return {
      {"SetReaderOnOff", [](C c, H h) { return byteOf(c.SetReaderOnOff(h, true)); }},
      {"SetMainGroup", [](C c, H h) { return byteOf(c.SetMainGroup(h, 42)); }},
      {"SetSubGroup", [](C c, H h) { return byteOf(c.SetSubGroup(h, 7)); }},
      {"SetCode4", [](C c, H h) { return byteOf(c.SetCode4(h, u"1234")); }},
      {"SetCode10", [](C c, H h) { return byteOf(c.SetCode10(h, u"12345@")); }},
      {"SendMsg", [](C c, H h) { return byteOf(c.SendMsg(h, u"1234", u"سلام")); }},
      {"AddCardSimple", [](C c, H h) { return c.AddCardSimple(h, u"1234"); }, true},
      {"DeleteCardSimple", [](C c, H h) { return c.DeleteCardSimple(h, u"1234"); }, true},
      {"DeleteCardAll", [](C c, H h) { return c.DeleteCardAll(h); }, true},
      {"SetMode", [](C c, H h) { return byteOf(c.SetMode(h, 3)); }},
      {"SendModeStr", [=](C c, H h) { return byteOf(c.SendModeStr(h, names)); }},
      {"SendModeActive", [=](C c, H h) { return byteOf(c.SendModeActive(h, active)); }},
      {"SetPersonAccessable", [](C c, H h) { return byteOf(c.SetPersonAccessable(h, true)); }},
      {"DefCards", [=](C c, H h) { return byteOf(c.DefCards(h, table)); }},
      {"DefAlarms", [=](C c, H h) { return byteOf(c.DefAlarms(h, table)); }},
  };
}

class DeviceCommandsTest : public SystemTest {
 protected:
  std::u16string cards() {
    mFolder.write("cards", "1\r\n2,3\n\"4\"\nx,12345\n56");
    return file("cards");
  }
};

TEST_F(DeviceCommandsTest, OverTheLine) {
  const SimulatedTerminal terminal("--serial --delay 1200" + journalOption());
  useLine(terminal);
  for (const Command& command : commands())
    EXPECT_EQ(command.call(mControl, u""), 24) << command.name;
  mControl.SetAlarm(Bytes(72, 5));
  mControl.ReaderOn(false);
  EXPECT_EQ(mControl.AddCardFile(u"", cards()), 24);
  const auto properties = std::get<Bytes>(mControl.GetDeviceProperties(u""));
  EXPECT_EQ(properties.size(), 101U);
  EXPECT_NE(properties, Bytes(101));
  for (const auto& command : journal("command")) EXPECT_EQ(command["address_parity"], "mark");
  const auto codes = [this] {
    std::vector<int> seen;
    for (const auto& command : journal("command")) seen.push_back(command["code"]);
    return seen;
  };
  EXPECT_EQ(codes(), (std::vector<int>{17, 19, 20, 13, 12, 21, 42, 41, 40, 32, 31, 30, 33, 26, 22,
                                       22, 17, 43, 24}));
}

struct Answer {
  const char* options;
  int reply;
};

class Answers : public DeviceCommandsTest, public testing::WithParamInterface<Answer> {};

TEST_P(Answers, OverTheNetwork) {
  const SimulatedTerminal terminal("--listen 0 " + std::string(GetParam().options));
  connectTo(mHasty, terminal);
  const int reply = GetParam().reply;
  for (const Command& command : commands()) {
    if (reply == noReply && command.name == std::string("SetReaderOnOff")) continue;  // 25 s
    const int expected = reply == 24 ? 24 : !command.repliesWithByte ? 0 : reply < 0 ? 255 : reply;
    EXPECT_EQ(command.call(mHasty, u"127.0.0.1"), expected) << command.name;
  }
  const int ofFile = reply < 0 ? 255 : reply;
  EXPECT_EQ(mHasty.AddCardFile(u"127.0.0.1", cards()), ofFile);
}

INSTANTIATE_TEST_SUITE_P(All, Answers,
                         testing::Values(Answer{"--delay 0", 24},
                                         Answer{"--delay 0 --reply 15", 15},
                                         Answer{"--delay 0 --reply 24,1 --pieces --pause 50", 24},
                                         Answer{"--silent", noReply}),
                         [](const auto& answer) { return "case" + std::to_string(answer.index); });

TEST_F(DeviceCommandsTest, TheTerminalKeepsWhatItWasTold) {
  const SimulatedTerminal terminal("--listen 0 --delay 0" + journalOption());
  connectTo(mHasty, terminal);
  for (const Command& command : commands())
    EXPECT_EQ(command.call(mHasty, u"127.0.0.1"), 24) << command.name;
  EXPECT_EQ(mHasty.AddCardFile(u"127.0.0.1", cards()), 24);
  EXPECT_EQ(mHasty.AddCardFile(u"127.0.0.1", cards()), 24);  // the same once more does no harm
  const auto state = journal("state").back();
  EXPECT_EQ(state["cards"], 5);
}

/// What monitored terminals sent, as the host hears it: each event is 8 bytes, the second the
/// terminal's address, the last two a running number.
class Listener : public __Cronvel {
 public:
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    take(bytes);
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t) override {
    mLine.insert(mLine.end(), bytes.begin(), bytes.end());
    while (!mLine.empty() && mLine.front() != 0xED) mLine.erase(mLine.begin());  // a reply
    const auto whole = mLine.begin() + std::ssize(mLine) / 8 * 8;
    take({mLine.begin(), whole});
    mLine.erase(mLine.begin(), whole);
  }
  /// The running numbers of each terminal, in the order of their arrival.
  std::map<int, std::vector<int>> numbers;
  std::size_t count = 0;

 private:
  void take(const Bytes& bytes) {
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
      while (bytes[i] != 0xED)  // a reply stands before it
        if (++i + 8 > bytes.size()) return;
      numbers[bytes[i + 1]].push_back(bytes[i + 6] * 256 + bytes[i + 7]);
      ++count;
    }
  }
  Bytes mLine;
};

class MonitoringTest : public SystemTest {
 protected:
  void pumpFor(double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) mPlatform->messagePump().waitEvents();
  }
  /// That every number from 1 on came once and in order, up to the last that the terminal sent.
  void expectAll(int address, int last) {
    const auto& numbers = heard.numbers[address];
    EXPECT_GE(static_cast<int>(numbers.size()), last - 1) << address;  // one can be on its way
    for (std::size_t i = 0; i < numbers.size(); ++i)
      ASSERT_EQ(numbers[i], static_cast<int>(i) + 1) << address;
  }
  std::map<int, int> lastSent() const {
    std::map<int, int> last;
    for (const auto& event : journal("monitoring")) last[event["bytes"][1]] = event["number"];
    return last;
  }

  Listener heard;
  Cronvel mListening{*mPlatform, mContainer, heard};
  Cronvel mHastyListening{mHastyPlatform, mContainer, heard};
};

TEST_F(MonitoringTest, EventsOfASharedLine) {
  const SimulatedTerminal terminals("--serial --terminals 1,12 --event-rate 10" + journalOption());
  mPlatform->mapCommPort(1, terminals.line());
  for (const std::uint8_t number : Bytes{1, 12}) {
    mListening.DeviceNum(number);
    EXPECT_TRUE(mListening.SetMonitoringOnOff(u"", true));
  }
  pumpFor(2);
  for (const std::uint8_t number : Bytes{1, 12}) {
    mListening.DeviceNum(number);
    mListening.MonitoringON(false);
  }
  EXPECT_GT(heard.count, 20U);
  for (const auto& [terminal, numbers] : heard.numbers)
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << terminal;
}

TEST_F(MonitoringTest, OverTheNetworkTheConnectionStays) {
  const int port = freePort();
  const SimulatedTerminal terminal("--event-rate 20 --connect 127.0.0.1:" + std::to_string(port) +
                                   journalOption());
  mListening.WinSockLocalPort(port);
  mListening.SetWinSockTCPMode(0);
  EXPECT_TRUE(mListening.SetMonitoringOnOff(u"any", true));
  pumpFor(1.5);
  EXPECT_GT(heard.count, 15U);
  expectAll(1, lastSent()[1]);
  mListening.WinSockClose(0);
}

TEST_F(MonitoringTest, AGroupOfTwoHundredTerminals) {
  constexpr int groupSize = 200;
  constexpr int inFirst = 160;
  const int port = 20000 + static_cast<int>(std::random_device{}() % 10000);
  const std::string common = " --event-rate 2.5 --delay 0 --quiet --connect 127.0.0.1:";
  const SimulatedTerminal first("--terminals 0-159" + common + std::to_string(port) +
                                journalOption());
  const SimulatedTerminal second("--terminals 0-39" + common + std::to_string(port + inFirst));
  for (int i = 0; i < groupSize; ++i) {
    mHastyListening.DeviceNum(static_cast<std::uint8_t>(i % inFirst));
    const std::string host = "terminal-" + std::to_string(port + i);
    // A live event of another terminal can be taken for the reply; the switch was sent all the
    // same.
    mHastyListening.SetMonitoringOnGroup(toUtf16(host), true);
  }
  const std::size_t before = heard.count;
  pumpFor(3);
  EXPECT_GT(static_cast<double>(heard.count - before), groupSize * 2.5 * 3 * 0.8);
  // Those numbers that only the first program has, so that each event says whose it was.
  std::map<int, int> last = lastSent();
  for (int number = 40; number < inFirst; ++number) {
    const int address = number / 10 * 16 + number % 10;
    expectAll(address, last[address]);
  }
  const std::size_t closed = journal("closed").size();
  mHastyListening.DeviceNum(1);
  EXPECT_TRUE(mHastyListening.SetMonitoringOffGroup(u"all", false));
  EXPECT_TRUE(waitUntil([&] { return journal("closed").size() - closed >= inFirst; }));
}

}  // namespace
}  // namespace cronvel::test
