// The control against the simulated terminal, over a real line and a real network.

#include <gtest/gtest.h>

#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

using ConversationTest = SystemTest;

TEST_F(ConversationTest, OnASharedLineOnlyTheAddressCarriesTheMarkAndOnlyTheAddressedActs) {
  const SimulatedTerminal terminals("--serial --terminals 1,12,2" + journalOption());
  useLine(terminals);
  mControl.DeviceNum(12);
  const std::u16string serial;
  EXPECT_TRUE(mControl.TestConnection(serial));
  EXPECT_TRUE(mControl.SetTime(serial, std::u16string(u"23:59:07")));
  EXPECT_TRUE(mControl.SetDate(serial, u"15/08/06", 3));
  EXPECT_TRUE(mControl.SetDayLight(serial, 21, 3, 22, 9));
  EXPECT_TRUE(mControl.SetKeyboard(serial, 5));
  EXPECT_TRUE(mControl.ResetMem(serial));
  mControl.DeviceNum(3);
  EXPECT_FALSE(mControl.ResetMem(serial));  // nobody has that number

  const auto commands = journal("command");
  ASSERT_EQ(commands.size(), 6U);
  for (const auto& command : commands) {
    EXPECT_EQ(command["terminal"], 12);
    EXPECT_EQ(command["address_parity"], "mark");
    EXPECT_EQ(command["body_parity"], command["code"] == 18 ? "none" : "space");
  }
  std::vector<int> marked;
  for (const auto& byte : journal("byte")) {
    EXPECT_EQ(byte["speed"], 600);
    if (byte["parity"] == "mark") marked.push_back(byte["value"]);
  }
  EXPECT_EQ(marked, (std::vector<int>{0x12, 0x12, 0x12, 0x12, 0x12, 0x12, 0x03}));
  const auto state = journal("state").back();
  EXPECT_EQ(state["date"], "15/08/06");
  EXPECT_EQ(state["keypad"], 5);
  EXPECT_EQ(state["records"], 0);
}

struct Fault {
  const char* options;
  bool accepted;
};

class ReplyFaults : public SystemTest, public testing::WithParamInterface<Fault> {};

TEST_P(ReplyFaults, OnBothTransports) {
  const SimulatedTerminal terminal("--serial --listen 0 " + std::string(GetParam().options));
  useLine(terminal);
  connectTo(mControl, terminal);
  for (const auto* host : {u"", u"127.0.0.1"}) {
    EXPECT_EQ(mControl.SetKeyboard(host, 1), GetParam().accepted);
  }
}

INSTANTIATE_TEST_SUITE_P(All, ReplyFaults,
                         testing::Values(Fault{"--silent", false}, Fault{"--delay 2000", true},
                                         Fault{"--delay 5300", false}, Fault{"--reply 15", false},
                                         Fault{"--reply 24,0,0 --pieces --pause 300", true},
                                         Fault{"--reply 0,24 --pieces --pause 300", false},
                                         Fault{"--noise 0xFF", false}),
                         [](const auto& fault) { return "case" + std::to_string(fault.index); });

TEST_F(ConversationTest, AHostThatHangsUpEndsTheWaitWithoutHarm) {
  const SimulatedTerminal dropping("--listen 0 --drop");
  connectTo(mControl, dropping);
  EXPECT_FALSE(mControl.SetKeyboard(u"127.0.0.1", 1));
  const SimulatedTerminal answering("--listen 0");
  connectTo(mControl, answering);
  EXPECT_TRUE(mControl.SetKeyboard(u"127.0.0.1", 1));
}

TEST_F(ConversationTest, TwoHundredConnectionsInARow) {
  const SimulatedTerminal terminal("--listen 0 --delay 0");
  connectTo(mHasty, terminal);
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(mHasty.SetKeyboard(u"127.0.0.1", 1)) << i;
}

TEST_F(ConversationTest, TwoHundredTerminalsInARowOnOnePort) {
  const std::string port = std::to_string(freePort());
  const std::string options = "--delay 0 --connect 127.0.0.1:" + port;
  const SimulatedTerminal one(options), two(options), three(options);
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(mHasty.TestConnection(u"gate-" + toUtf16(port))) << i;
}

TEST_F(ConversationTest, ALongStreamOverTheNetworkIsWhole) {
  const std::string port = std::to_string(freePort());
  const SimulatedTerminal terminal("--listen 0 --connect 127.0.0.1:" + port +
                                   " --cards 300 --days 90 --network-speed 1000000" +
                                   journalOption());
  connectTo(mControl, terminal);
  EXPECT_EQ(mControl.GetDataByDate(u"127.0.0.1", 1, 1, 26, 31, 12, 26, file("dates.Hex")), 0);
  mControl.WinSockLocalPort(std::stoi(port));
  mControl.SetWinSockTCPMode(0);
  EXPECT_EQ(mControl.GetData(u"terminal", file("all.Hex")), 0);
  EXPECT_GT(mControl.NumOfRecs(), 30'000);
  EXPECT_EQ(mFolder.read("all.Hex"), mFolder.read("dates.Hex"));
  const auto streams = journal("stream-end");
  ASSERT_EQ(streams.size(), 2U);
  for (const auto& stream : streams) EXPECT_EQ(stream["bytes"], mFolder.read("all.Hex").size());
}

TEST_F(ConversationTest, APauseInTheStreamDoesNotEndIt) {
  const SimulatedTerminal terminal("--serial --cards 5 --days 3 --pause-at 30 --pause 4700");
  useLine(terminal);
  EXPECT_EQ(mControl.GetData(u"", file("rec.Hex")), 0);
}

TEST_F(ConversationTest, TrailerFaultsAreNoticed) {
  const SimulatedTerminal missing("--serial --cards 3 --days 2 --trailer missing");
  useLine(missing);
  EXPECT_EQ(mControl.GetData(u"", file("rec.Hex")), 1);
  const SimulatedTerminal count("--serial --cards 3 --days 2 --trailer count");
  useLine(count);
  EXPECT_EQ(mControl.GetDataBuff(file("rec.Hex")), Variant(std::int16_t{0}));  // not looked at
  EXPECT_EQ(mControl.GetData(u"", file("rec.Hex")), 1);
}

}  // namespace
}  // namespace cronvel::test
