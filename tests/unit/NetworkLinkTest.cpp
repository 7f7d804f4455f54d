#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

using NetworkLinkTest = ControlTest;

TEST_F(NetworkLinkTest, EachMemberPumpsAroundItsSocketCall) {
  platform.time.recordPasses = true;
  control->SetWinSockTCPMode(0);
  EXPECT_EQ(transcript().take(), "pump; local port 8085; protocol 0");
  control->WinSockProtocol(1);
  control->WinSockRemoteHost(u"10.0.0.7");
  control->WinSockRemotePort(99);
  control->SetWinSockUDPMode(0);
  EXPECT_EQ(transcript().take(),
            "pump; local port 8085; protocol 1; remote host 10.0.0.7; remote port 99");
  control->SetWinSockLocalPort(0, 5000);
  EXPECT_EQ(control->WinSockLocalPort(), 8085);
  control->WinSockListen(0);
  control->WinSockConnect(0);
  EXPECT_EQ(transcript().take(),
            "pump; local port 5000; pump; listen; pump; close 0; pump; connect; pump");
  control->WinSockSendData(0, {1, 2});
  control->WinSockSendDataByte(0, 24);
  EXPECT_EQ(transcript().take(), "pump; send 01 02; pump; pump; send 18; pump");
  control->WinSockConnectToHost(0, u"clock");
  control->WinSockClose(0);
  EXPECT_EQ(transcript().take(), "close 0; pump; connect clock; pump; pump; close 0; pump");
}

TEST_F(NetworkLinkTest, WhatTheSocketRefusesReachesTheCaller) {
  EXPECT_EQ(errorOf([&] { control->WinSockSendDataByte(0, 1); }), 40006);
  control->WinSockListen(0);
  EXPECT_EQ(errorOf([&] { control->WinSockListen(0); }), 40020);
  EXPECT_EQ(errorOf([&] { control->WinSockClose(1); }), 340);
  EXPECT_EQ(errorOf([&] { control->SetWinSockTCPMode(-1); }), 340);
}

TEST_F(NetworkLinkTest, TheStateIsReportedOnceAndThenOnlyWhenItChanges) {
  platform.time.run(0.5);
  EXPECT_EQ(events.states, (std::vector<std::int16_t>{sckClosed}));
  platform.sockets->load(1);
  platform.sockets->at(1).state = sckConnected;  // only socket 0 is watched
  control->WinSockListen(0);
  platform.time.run(0.55);
  platform.sockets->connectIn(0);
  platform.time.run(0.5);
  EXPECT_EQ(events.states, (std::vector<std::int16_t>{sckClosed, sckListening, sckConnected}));
}

TEST_F(NetworkLinkTest, ANewRequestDropsTheConnectionThatWas) {
  control->WinSockListen(0);
  platform.sockets->connectIn(0);
  platform.sockets->events->ConnectionRequest(0, 8);
  EXPECT_EQ(transcript().take(), "listen; close 0; accept 7; close 0; accept 8");
}

TEST_F(NetworkLinkTest, ArrivedDataIsAnnouncedWithZeroCounters) {
  control->WinSockConnectToHost(0, u"clock");
  platform.sockets->feed(0, {1, 2, 3});
  platform.time.DoEvents();
  platform.sockets->load(3);
  platform.sockets->feed(3, {9});
  platform.time.after(0, [this] { platform.sockets->unload(3); });  // in the handler's own pump
  platform.time.DoEvents();
  EXPECT_EQ(events.arrivals,
            (std::vector<std::string>{"3: 01 02 03 from clock 10.0.0.9 0", "1: 09 from   0"}));
}

TEST_F(NetworkLinkTest, ErrorsAreReportedAndTheSocketShowsNoBoxOfItsOwn) {
  std::u16string description = u"Connection refused";
  bool cancelDisplay = false;
  platform.sockets->events->Error(0, 10061, description, 1, u"socket", u"help", 2, cancelDisplay);
  EXPECT_EQ(events.errors, "10061,Connection refused,socket,help,1,2");
  EXPECT_TRUE(cancelDisplay);
}

}  // namespace
}  // namespace cronvel::test
