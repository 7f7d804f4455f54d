// Every command that came with reader, cards, modes and the rest, against the simulated terminal.

#include <gtest/gtest.h>

#include <functional>

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

/// What a group of monitored terminals sent, as the host hears it.
class Listener : public __Cronvel {
 public:
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    received.push_back(bytes);
  }
  std::vector<Bytes> received;
};

}  // namespace
}  // namespace cronvel::test
