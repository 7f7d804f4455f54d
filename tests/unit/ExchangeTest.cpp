// What the table of the commands cannot say about an exchange.

#include <sstream>

#include "tests/support/Call.h"
#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const std::u16string serial;
const std::u16string host = u"10.0.0.9";

using ExchangeTest = ControlTest;

TEST_F(ExchangeTest, AddressesUpTo159) {
  const std::pair<std::uint8_t, const char*> cases[] = {
      {0, "out 00"}, {10, "out 10"}, {99, "out 99"}, {159, "out F9"}};
  for (const auto& [number, out] : cases) {
    control->DeviceNum(number);
    control->ResetMem(serial);
    EXPECT_NE(transcript().take().find(out), std::string::npos) << int{number};
  }
  control->DeviceNum(160);
  monitoringOn();
  EXPECT_EQ(messageOf([&] { control->ResetMem(serial); }),
            "Invalid procedure call or argument: 256 is no character code from 0 to 255");
  EXPECT_EQ(transcript().take(), "settings 600,m,8,1; discard in");
  EXPECT_FALSE(control->MonitoringON());  // nothing is undone
  EXPECT_EQ(errorOf([&] { control->ResetMem(host); }), 6);
  EXPECT_EQ(transcript().take(), "connect 10.0.0.9");
  monitoringOn();
  transcript().failAt("connect 10.0.0.9", ErrorNumber::invalidOperationAtState);
  EXPECT_EQ(errorOf([&] { control->ResetMem(host); }), 40020);
  EXPECT_TRUE(control->MonitoringON());  // the connection comes before the hold
}

TEST_F(ExchangeTest, TheListenPortStandsAfterTheFirstDash) {
  const std::pair<std::u16string, int> ports[] = {
      {u"5000", 5000}, {u"gate-5001", 5001}, {u" - 5002 ", 5002}, {u"10.0.0.9-5003.4", 5003}};
  for (const auto& [text, port] : ports) {
    EXPECT_FALSE(control->TestConnection(text));
    EXPECT_EQ(transcript().take(), "local port " + std::to_string(port) + "; listen; close 0");
  }
  for (const auto* text : {u"gate", u"-", u"gate-x", u"a-b-5000", u" "}) {
    monitoringOn();
    EXPECT_EQ(errorOf([&] { control->TestConnection(text); }), 13);
    EXPECT_EQ(transcript().take(), "");
    EXPECT_FALSE(control->MonitoringON());  // the hold came first
  }
  control->ResetMem(u" ");
  EXPECT_EQ(transcript().take().substr(0, 9), "connect  ");  // a blank host is the network
}

TEST_F(ExchangeTest, WhatComesDuringTheRequestIsNoReply) {
  platform.terminal.replyAfter(3, 0.04, {24});
  EXPECT_FALSE(control->TestConnection(serial));
  platform.time.after(0.01, [this] { platform.sockets->feed(0, {24}); });
  EXPECT_FALSE(control->ResetMem(host));
}

TEST_F(ExchangeTest, MonitoringIsSwitchedOffOverAConnectionOfItsOwn) {
  platform.time.after(1, [this] { platform.sockets->connectIn(0); });
  EXPECT_TRUE(control->SetMonitoringOnOff(u"any", false));
  EXPECT_EQ(transcript().take(),
            "listen; close 0; accept 7; send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; "
            "send 46; close 0");
}

TEST_F(ExchangeTest, SetDayLightDoesNotHoldMonitoring) {
  monitoringOn();
  platform.terminal.replyAfter(7, 0.2, {24});
  EXPECT_TRUE(control->SetDayLight(serial, 21, 3, 22, 9));
  EXPECT_TRUE(events.monitoring.empty());  // what a command waits for is the command's first
  EXPECT_FALSE(control->MonitoringON());
}

TEST_F(ExchangeTest, WhatEndsForGoodEndsEveryLaterWaitAndADialTone) {
  platform.time.arriveAfter(1, [this] { control->endCommand(); });
  EXPECT_EQ(control->Dial(), 4);
  control->TelNum(u"7788");
  EXPECT_EQ(control->Dial(), 3);
  EXPECT_TRUE(transcript().take().ends_with("out 41 54 44 50 37 37 38 38 0D 0A; close"));
  for (std::int16_t i = 1; i <= 2; ++i) {
    platform.sockets->load(i);
    platform.sockets->at(i).state = sckConnected;
  }
  platform.time.arriveAfter(1, [this] { control->endCommand(); });
  EXPECT_FALSE(control->SetMonitoringOffGroup(u"all", false));
  EXPECT_EQ(platform.sockets->at(2).state, sckConnected);  // that one was not told
  control->endForGood();
  transcript().take();
  EXPECT_FALSE(control->ResetMem(serial));
  EXPECT_FALSE(control->TestConnection(u"gate-5000"));
  EXPECT_EQ(control->Dial(), 3);
  EXPECT_TRUE(control->Hangup() || transcript().take().empty());
}

TEST_F(ExchangeTest, MoreThanAnEventCanCountComesInSeveral) {
  monitoringOn();
  Bytes flood(70'000);
  for (std::size_t i = 0; i < flood.size(); ++i) flood[i] = static_cast<std::uint8_t>(i % 251);
  platform.port->feed(flood);
  platform.time.DoEvents();
  ASSERT_EQ(events.monitoring.size(), 3U);
  std::string joined;
  for (const std::string& event : events.monitoring) joined += event.substr(event.find(':') + 1);
  EXPECT_EQ(joined, hex(flood));
}

TEST_F(ExchangeTest, AGroupAbove99IsNotSent) {
  for (const auto group : {&Cronvel::SetMainGroup, &Cronvel::SetSubGroup}) {
    monitoringOn();
    EXPECT_FALSE((*control.*group)(host, 100));
    EXPECT_EQ(transcript().take(), "");
    EXPECT_FALSE(control->MonitoringON());
  }
}

TEST_F(ExchangeTest, TheReaderStateIsKeptBeforeAnythingIsSent) {
  EXPECT_FALSE(control->SetReaderOnOff(serial, true));
  EXPECT_TRUE(control->ReaderOn());
  EXPECT_EQ(container.changed, std::vector<std::string>{"ReaderOn"});
  monitoringOn();
  container.userMode = false;
  EXPECT_EQ(errorOf([&] { control->SetReaderOnOff(host, false); }), 387);
  EXPECT_TRUE(control->ReaderOn());
  EXPECT_FALSE(control->MonitoringON());
  EXPECT_EQ(transcript().take(), "");
}

TEST_F(ExchangeTest, OddArguments) {
  struct Case {
    Call call;
    std::string sent;
    std::string error = {};
  };
  const Case cases[] = {
      // What is missing in a date, or is no digit, is 0; so is a character without a key in a code.
      {call(MEMBER(SetDate), u"1x", 1), " 0B 01 00 00 10"},
      {call(MEMBER(SetCode10), u"@ /:9"), " 0C 30 00 00 00 07"},
      {call(MEMBER(SetCode4), u"@/:"), " 0D 17 17 17"},
      {call(MEMBER(SetCode4), u""), " 0D"},
      {call(MEMBER(AddCardSimple), u"12.6"), " 2A 00 13"},
      {call(MEMBER(DeleteCardSimple), u"15999"), " 29 F9 99"},
      {call(MEMBER(SendMsg), u"65535", std::u16string(40, u'x')),
       " 15 FF FF" + hex(Bytes(31, 'x')) + " 20 01"},
      {call(MEMBER(SetPersonAccessable), false), " 21 54"},
      {call(MEMBER(SetReaderOnOff), false), " 11 46"},
      {put(MEMBER(ReaderOn), false), " 11 46"},
      {put(MEMBER(MonitoringON), false), " 17 46"},
      {call(MEMBER(SetAlarm), Bytes{1, 2}), " 16 01 02",
       "Subscript out of range: the array has no element 2"},
      {call(MEMBER(SetTime), u"noon"), " 0A",
       "Type mismatch: \"noon\" is not a time such as 23:59:07"},
      {call(MEMBER(SetTime), u"13:00 PM"), " 0A",
       "Type mismatch: \"13:00 PM\" is not a time such as 11:59:07 PM"},
      {call(MEMBER(SetTime), Bytes{1}), " 0A", "Type mismatch: a byte array is not a number"},
      {call(MEMBER(SetTime), Variant()), " 0A", "Type mismatch: no time was given"}};
  for (const Case& each : cases) {
    EXPECT_EQ(messageOf([&] { each.call.run(*control, serial); }), each.error);
    std::string sent;
    std::istringstream entries(transcript().take());
    for (std::string entry; std::getline(entries >> std::ws, entry, ';');)
      if (entry.starts_with("out")) sent += entry.substr(3);
    EXPECT_EQ(sent, " 01 02" + each.sent);
  }
}

TEST_F(ExchangeTest, AMonitoredGroupHasASocketForEachTerminal) {
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"", true));
  EXPECT_FALSE(control->SetMonitoringOffGroup(u"", true));
  EXPECT_FALSE(control->MonitoringON());
  EXPECT_EQ(errorOf([&] { control->SetMonitoringOnGroup(u"dev", true); }), 13);
  platform.sockets->unload(1);
  control->WinSockConnectToHost(0, u"clock");

  // A refusal keeps the connection as an acceptance does.
  platform.time.after(1, [this] { platform.sockets->connectIn(1); });
  platform.terminal.replyAfter(4, 0.1, {15});
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"dev-9000", true));
  for (std::int16_t i = 2; i <= 4; ++i) {
    platform.sockets->load(i);
    platform.sockets->at(i).state = i == 3 ? sckClosed : sckConnected;
  }
  platform.sockets->unload(2);  // a gap is passed over
  transcript().take();
  platform.time.after(1, [this] { EXPECT_EQ(platform.sockets->at(1).state, sckConnected); });
  EXPECT_TRUE(control->SetMonitoringOffGroup(u"all", false));
  const std::string switchOff = "send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; send 46";
  EXPECT_EQ(transcript().take(), switchOff + "; close 1; " + switchOff + "; close 4");
  EXPECT_FALSE(platform.sockets->exists(1) || platform.sockets->exists(4));
  EXPECT_TRUE(platform.sockets->exists(3));
  EXPECT_EQ(platform.sockets->at(0).state, sckConnected);  // not of the group
  EXPECT_FALSE(control->MonitoringON());
  EXPECT_EQ(container.changed.back(), "MonitoringON");
}

TEST_F(ExchangeTest, StartMonitoringGroupIsAlwaysTrue) {
  platform.sockets->load(2);
  control->WinSockRemoteHost(u"clock");
  EXPECT_TRUE(control->StartMonitoringGroup());
  EXPECT_EQ(transcript().take(), "connect clock; send 00");
  transcript().failAt("connect clock", ErrorNumber::hostNotFound);
  platform.sockets->at(2).state = sckClosed;
  EXPECT_TRUE(control->StartMonitoringGroup());
}

}  // namespace
}  // namespace cronvel::test
