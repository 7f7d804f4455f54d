#include <functional>

#include "tests/support/ControlTest.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

const std::u16string serial;
const std::u16string host = u"10.0.0.9";

/// Each command once, as its row in a table. The result counts a card command's reply byte.
struct Row {
  const char* name;
  std::function<int(Cronvel&, const std::u16string& sRemoteHost)> call;
  Bytes body;  ///< after the address
  int lastPause;
  bool onAfterSerialReply;
  double networkWait = 5;
  int accepted = 1;
  int noReply = 0;
};

Bytes join(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

std::vector<Row> rows() {
  const Bytes blanks(32, ' ');
  return {
      {"SetReaderOnOff",
       [](Cronvel& c, const std::u16string& h) { return c.SetReaderOnOff(h, true); },
       {2, 17, 'T'},
       0,
       true,
       25},
      {"SetMainGroup",
       [](Cronvel& c, const std::u16string& h) { return c.SetMainGroup(h, 99); },
       {2, 19, 0x99},
       1000,
       false},
      {"SetSubGroup",
       [](Cronvel& c, const std::u16string& h) { return c.SetSubGroup(h, 7); },
       {2, 20, 0x07},
       1000,
       false},
      {"SetCode4",
       [](Cronvel& c, const std::u16string& h) { return c.SetCode4(h, u"1A9 5"); },
       {2, 13, 19, 23, 7, 23},
       50,
       false},
      {"SetCode10",
       [](Cronvel& c, const std::u16string& h) { return c.SetCode10(h, u"0@2345678 9"); },
       {2, 12, 23, 48, 18, 17, 14, 13, 12, 9, 8, 0},
       50,
       false},
      {"SetCode4 empty",
       [](Cronvel& c, const std::u16string& h) { return c.SetCode4(h, u""); },
       {2, 13},
       50,
       false},
      {"SendMsg", [](Cronvel& c, const std::u16string& h) { return c.SendMsg(h, u"258", u"AB"); },
       join(join({2, 21, 2, 1, 'B', 'A'}, Bytes(30, ' ')), {1}), 50, false},
      {"AddCardSimple",
       [](Cronvel& c, const std::u16string& h) { return c.AddCardSimple(h, u"12.6"); },
       {2, 42, 0x00, 0x13},
       50,
       true,
       5,
       24,
       255},
      {"DeleteCardSimple",
       [](Cronvel& c, const std::u16string& h) { return c.DeleteCardSimple(h, u"12345"); },
       {2, 41, 0xC3, 0x45},
       50,
       true,
       5,
       24,
       255},
      {"DeleteCardAll",
       [](Cronvel& c, const std::u16string& h) { return c.DeleteCardAll(h); },
       {2, 40, 'T'},
       0,
       true,
       5,
       24,
       255},
      {"SetMode",
       [](Cronvel& c, const std::u16string& h) { return c.SetMode(h, 200); },
       {2, 32, 200},
       50,
       true},
      {"SendModeStr",
       [](Cronvel& c, const std::u16string& h) {
         return c.SendModeStr(h,
                              {u"", u"12", u"", u"", u"", u"", u"", u"ABCDEFGHIJKLMNOPQRST", u"x"});
       },
       join({2, 31, '$'}, join(join(Bytes(16, ' '), join({129, 130}, Bytes(14, ' '))),
                               join(Bytes(5 * 16, ' '), {'T', 'S', 'R', 'Q', 'P', 'O', 'N', 'M',
                                                         'L', 'K', 'J', 'I', 'H', 'G', 'F', 'E'}))),
       50, true},
      {"SendModeActive",
       [](Cronvel& c, const std::u16string& h) {
         return c.SendModeActive(h, {true, false, false, false, false, false, false, true, true});
       },
       {2, 30, 'T', 'F', 'F', 'F', 'F', 'F', 'F', 'T'},
       50,
       true},
      {"SetPersonAccessable",
       [](Cronvel& c, const std::u16string& h) { return c.SetPersonAccessable(h, true); },
       {2, 33, 'F'},
       0,
       false},
      {"DefCards",
       [](Cronvel& c, const std::u16string& h) {
         return c.DefCards(h, {1, 10, 99, 0, 25, 159, 7});
       },
       {2, 26, 0x01, 0x10, 0x99, 0x00, 0x25, 0xF9},
       50,
       false},
      {"DefAlarms",
       [](Cronvel& c, const std::u16string& h) {
         return c.DefAlarms(h, HostArray<std::uint8_t>(Bytes(300, 25)));
       },
       join({2, 22}, Bytes(210, 0x25)), 50, false},
  };
}

std::string bytesWith(const char* verb, const Bytes& body, int lastPause) {
  std::string text;
  for (std::size_t i = 0; i < body.size(); ++i) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "; %s %02X", verb, static_cast<unsigned>(body[i]));
    text += entry;
    const int pause = i + 1 < body.size() ? 50 : lastPause;
    if (pause > 0) text += "; sleep " + std::to_string(pause);
  }
  return text;
}

class DeviceCommandsTest : public ControlTest {};

TEST_F(DeviceCommandsTest, OnTheSerialLine) {
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    for (const int reply : {-1, 15, 24}) {
      platform.terminal.startAnew();
      if (reply >= 0)
        platform.terminal.replyAfter(row.body.size() + 1, 1.2,
                                     {static_cast<std::uint8_t>(reply), 24});
      if (platform.port->PortOpen()) platform.port->PortOpen(false);
      monitoringOn();
      const int expected = reply < 0            ? row.noReply
                           : reply == 24        ? row.accepted
                           : row.accepted == 24 ? reply
                                                : 0;
      EXPECT_EQ(row.call(*control, serial), expected);
      EXPECT_EQ(transcript().take(),
                "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1" +
                    bytesWith("out", row.body, row.lastPause) + "; discard in");
      EXPECT_EQ(control->MonitoringON(), reply < 0 || row.onAfterSerialReply);
    }
  }
}

TEST_F(DeviceCommandsTest, OnTheNetwork) {
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    for (const double delay : {row.networkWait - 0.1, row.networkWait + 0.1}) {
      const bool inTime = delay < row.networkWait;
      platform.terminal.startAnew();
      platform.terminal.replyAfter(row.body.size() + 1, delay + row.lastPause / 1000.0, {24});
      monitoringOn();
      EXPECT_EQ(row.call(*control, host), inTime ? row.accepted : row.noReply);
      EXPECT_EQ(transcript().take(), "connect 10.0.0.9; send 01; sleep 50" +
                                         bytesWith("send", row.body, row.lastPause) + "; close 0");
      EXPECT_TRUE(control->MonitoringON());
      platform.time.run(1);
    }
  }
}

TEST_F(DeviceCommandsTest, BehindAModemWithoutCarrierNothingIsSent) {
  control->DialupConnection(true);
  monitoringOn();
  for (const Row& row : rows()) {
    EXPECT_EQ(row.call(*control, host), 0) << row.name;
    EXPECT_EQ(transcript().take().find("box ارتباط مودم"), 0U) << row.name;
  }
  control->ReaderOn(true);
  control->MonitoringON(false);
  control->SetAlarm({});
  EXPECT_FALSE(control->SetMonitoringOnOff(host, false));
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"a-9000", false));
  EXPECT_EQ(control->GetDeviceProperties(serial), Variant());
  EXPECT_FALSE(control->ReaderOn());
  EXPECT_TRUE(control->MonitoringON());
}

TEST_F(DeviceCommandsTest, AGroupAbove99IsNotSent) {
  monitoringOn();
  EXPECT_FALSE(control->SetMainGroup(host, 100));
  EXPECT_EQ(transcript().take(), "");
  EXPECT_FALSE(control->MonitoringON());
}

TEST_F(DeviceCommandsTest, TheReaderStateIsKeptBeforeAnythingIsSent) {
  EXPECT_FALSE(control->SetReaderOnOff(serial, true));
  EXPECT_TRUE(control->ReaderOn());
  EXPECT_EQ(container.changed, std::vector<std::string>{"ReaderOn"});
  monitoringOn();
  transcript().take();
  container.userMode = false;
  EXPECT_EQ(errorOf([&] { control->SetReaderOnOff(host, false); }), 387);
  EXPECT_TRUE(control->ReaderOn());
  EXPECT_FALSE(control->MonitoringON());
  EXPECT_EQ(transcript().take(), "");
}

TEST_F(DeviceCommandsTest, WhatFitsNoByteFailsWhenItsTurnComes) {
  const std::string start =
      "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1; out 02; "
      "sleep 50; out ";
  struct Case {
    std::function<void()> call;
    int number;
    std::string sent;  ///< after the 2
  };
  const Case cases[] = {
      {[&] { control->SendMsg(serial, u"-1", u""); }, 6, "15; sleep 50"},
      {[&] { control->SendMsg(serial, u"65536", u""); }, 6, "15; sleep 50; out 00; sleep 50"},
      {[&] { control->AddCardSimple(serial, u"16000"); }, 6, "2A; sleep 50"},
      {[&] { control->AddCardSimple(serial, u"-5"); }, 6, "2A; sleep 50; out 00; sleep 50"},
      {[&] {
         control->DefCards(serial, {1, 160});
       },
       6, "1A; sleep 50; out 01; sleep 50"},
      {[&] { control->DefCards(serial, {1}); }, 9, "1A; sleep 50; out 01; sleep 50"},
      {[&] {
         control->SendModeActive(serial, {{true, true}, 1});
       },
       9, "1E; sleep 50"},
      {[&] { control->SendModeStr(serial, {}); }, 9, "1F; sleep 50; out 24; sleep 50"},
      {[&] {
         control->SetAlarm({1, 2});
       },
       9, "16; sleep 50; out 01; sleep 50; out 02; sleep 50"},
      {[&] { control->AddCardFile(serial, u"/no such file"); }, 53,
       "2B; sleep 50; settings 9600,s,8,1"},
  };
  for (const Case& c : cases) {
    if (platform.port->PortOpen()) platform.port->PortOpen(false);
    transcript().take();
    EXPECT_EQ(errorOf(c.call), c.number);
    EXPECT_EQ(transcript().take(), start + c.sent);
  }
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->ResetMem(serial));  // and the control is usable afterwards
}

TEST_F(DeviceCommandsTest, TheAlarmScheduleGoesOutWithoutAReply) {
  monitoringOn();
  Bytes timing;
  for (std::uint8_t i = 0; i < 80; ++i) timing.push_back(i);
  EXPECT_EQ(control->SetAlarm(timing), Variant());
  Bytes body{2, 22};
  for (int i = 0; i < 72; ++i)
    body.push_back(static_cast<std::uint8_t>(i % 3 == 2 ? i : i / 10 * 16 + i % 10));
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1" +
                bytesWith("out", body, 50));
  EXPECT_TRUE(control->MonitoringON());
}

TEST_F(DeviceCommandsTest, DevicePropertiesAreGatheredUntilSilence) {
  monitoringOn();
  platform.terminal.replyAfter(3, 0.04, {9});  // before the last pause ends: lost
  platform.terminal.replyAfter(3, 1, {1, 2});
  platform.terminal.replyAfter(3, 5.8, {3});
  Bytes expected{1, 2, 3};
  expected.resize(101);
  EXPECT_EQ(control->GetDeviceProperties(serial), Variant(expected));
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; open; discard in; discard out; out 01; sleep 50; "
            "settings 600,s,8,1; out 02; sleep 50; out 18; sleep 50; settings 600,s,8,1; "
            "discard in");
  EXPECT_TRUE(control->MonitoringON());

  platform.terminal.startAnew();
  platform.terminal.replyAfter(3, 1, {1, 2, 3});
  platform.time.after(2, [this] { platform.sockets->connectIn(0); });
  EXPECT_EQ(control->GetDeviceProperties(u"gate-5000"), Variant(expected));
  EXPECT_TRUE(events.arrivals.empty());
  EXPECT_EQ(transcript().take(),
            "local port 5000; listen; close 0; accept 7; send 01; sleep 50; send 02; sleep 50; "
            "send 18; sleep 50; close 0");
  EXPECT_EQ(control->GetDeviceProperties(u"gate-5000"), Variant());
  EXPECT_EQ(transcript().take(), "local port 5000; listen; close 0");

  platform.terminal.startAnew();
  platform.terminal.replyAfter(3, 1, Bytes(102, 1));
  EXPECT_EQ(errorOf([&] { control->GetDeviceProperties(serial); }), 9);
  EXPECT_FALSE(control->MonitoringON());
}

TEST_F(DeviceCommandsTest, ACardFileIsSentAsABlockWithItsSum) {
  const TestFolder folder;
  folder.write("cards", "1234\r\n\nabcde,56\n\"  7 \", 12345 ,-5,1e9\r9999.");
  class Progress : public RecordingEvents {
   public:
    void AddFileProgressInit(std::int32_t& nMax) override { seen.push_back(-nMax); }
    void AddFileProgressInc(std::int32_t& nValue) override {
      seen.push_back(nValue);
      nValue = 99;  // a host may write there
    }
    std::vector<int> seen;
  } progress;
  FakePlatform machine;
  machine.time.stepPerRead = 1000;
  Cronvel c(machine, container, progress);
  machine.time.stepPerRead = 0;
  machine.terminal.replyAfter(15, 0.5, {33});
  EXPECT_EQ(c.AddCardFile(serial, (folder / "cards").u16string()), 33);
  EXPECT_EQ(progress.seen, (std::vector<int>{-3, 1, 2, 3}));
  EXPECT_EQ(machine.transcript.take(),
            "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1; out 02; "
            "sleep 50; out 2B; sleep 50; settings 9600,s,8,1; out AA; sleep 50; sleep 50; out 12; "
            "sleep 50; out 34; sleep 50; sleep 50; out 00; sleep 50; out 56; sleep 50; sleep 50; "
            "out 00; sleep 50; out 07; sleep 50; out AA; sleep 50; out 00; sleep 50; out 00; "
            "sleep 50; out 00; sleep 50; out A3; sleep 50; settings 600,s,8,1; discard in");
}

TEST_F(DeviceCommandsTest, FiveThousandCardsInAMixedFile) {
  const TestFolder folder;
  std::string text;
  std::uint32_t sum = 0;
  const char* const between[] = {"\n", "\r\n", ",", " , ", "\n\n", ",x,", "\r\n12345,", "\n-7\n"};
  for (int i = 0; i < 5000; ++i) {
    text += (i % 7 == 0 ? "\"" + std::to_string(i) + "\"" : std::to_string(i)) + between[i % 8];
    sum += static_cast<std::uint32_t>(i / 1000 * 16 + i / 100 % 10 + i / 10 % 10 * 16 + i % 10);
  }
  folder.write("cards", text);
  control->AddCardFile(host, (folder / "cards").u16string());
  const std::string sent = transcript().take();
  std::string expected = "send AA; sleep 50";
  for (const int shift : {24, 16, 8, 0}) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "; send %02X; sleep 50", sum >> shift & 0xFF);
    expected += entry;
  }
  expected += "; close 0";
  ASSERT_GT(sent.size(), expected.size());
  EXPECT_EQ(sent.substr(sent.size() - expected.size()), expected);
}

TEST_F(DeviceCommandsTest, MonitoringOverTheNetworkKeepsItsConnectionWhileItIsOn) {
  platform.time.after(30, [this] { platform.sockets->connectIn(0); });
  EXPECT_TRUE(control->SetMonitoringOnOff(u"any", true));
  EXPECT_EQ(transcript().take(),
            "listen; close 0; accept 7; send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; "
            "send 54");
  EXPECT_TRUE(control->MonitoringON());
  platform.sockets->feed(0, {1, 2});
  platform.time.DoEvents();
  EXPECT_EQ(events.arrivals.size(), 1U);
  control->WinSockClose(0);
  transcript().take();

  platform.time.after(1, [this] { platform.sockets->connectIn(0); });
  EXPECT_TRUE(control->SetMonitoringOnOff(u"any", false));
  EXPECT_EQ(transcript().take(),
            "listen; close 0; accept 7; send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; "
            "send 46; close 0");
  platform.time.after(1, [this] { control->WinSockClose(0); });
  EXPECT_FALSE(control->SetMonitoringOnOff(u"any", true));
}

TEST_F(DeviceCommandsTest, AMonitoredGroupHasASocketForEachTerminal) {
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"", true));
  EXPECT_FALSE(control->MonitoringON());
  EXPECT_TRUE(control->SetMonitoringOffGroup(u"all", false));
  const std::string switchOn = "send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; send 54";

  platform.time.after(1, [this] { platform.sockets->connectIn(1); });
  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->SetMonitoringOnGroup(u"dev-9000", true));
  EXPECT_EQ(transcript().take(),
            "local port 8085; protocol 0; local port 9000; listen; close 1; "
            "accept 7; " +
                switchOn);
  // A refusal keeps the connection, silence closes it and leaves its element behind.
  platform.time.after(1, [this] { platform.sockets->connectIn(2); });
  platform.terminal.replyAfter(8, 0.1, {15});
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"9001", true));
  EXPECT_EQ(platform.sockets->at(2).state, sckConnected);
  platform.time.after(1, [this] { platform.sockets->connectIn(3); });
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"dev-9002", true));
  EXPECT_EQ(platform.sockets->at(3).state, sckClosed);
  // Nobody connects in: the element goes.
  EXPECT_FALSE(control->SetMonitoringOnGroup(u"dev-9003", true));
  EXPECT_FALSE(platform.sockets->exists(4));
  EXPECT_EQ(errorOf([&] { control->SetMonitoringOnGroup(u"dev", true); }), 13);

  transcript().take();
  platform.sockets->unload(2);  // a gap is passed over
  EXPECT_TRUE(control->SetMonitoringOffGroup(u"all", false));
  EXPECT_EQ(transcript().take(),
            "send 01; sleep 50; send 02; sleep 50; send 17; sleep 50; send 46; close 1");
  EXPECT_FALSE(platform.sockets->exists(1));
  EXPECT_TRUE(platform.sockets->exists(3));
  EXPECT_FALSE(control->MonitoringON());
}

TEST_F(DeviceCommandsTest, StartMonitoringGroupIsAlwaysTrue) {
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
