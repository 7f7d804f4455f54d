#include <functional>

#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const std::u16string serial;
const std::u16string host = u"10.0.0.9";

/// Each command once, as its row in a table.
struct Row {
  const char* name;
  std::function<bool(Cronvel&, const std::u16string& sRemoteHost)> call;
  Bytes body;  ///< after the address
  bool pauseAfterLast;
  bool listens;
  bool onAfterSerialReply;
  bool onOtherwise;
};

std::vector<Row> rows() {
  return {
      {"SetTime",
       [](Cronvel& c, const std::u16string& h) { return c.SetTime(h, Time{86347 / 86400.0}); },
       {2, 10, 0x07, 0x59, 0x23},
       true,
       true,
       false,
       true},
      {"SetDate",
       [](Cronvel& c, const std::u16string& h) { return c.SetDate(h, u"15/08/06", 3); },
       {2, 11, 3, 0x06, 0x08, 0x15},
       false,
       false,
       false,
       true},
      {"SetKeyboard",
       [](Cronvel& c, const std::u16string& h) { return c.SetKeyboard(h, 200); },
       {2, 16, 200},
       false,
       false,
       false,
       true},
      {"ResetMem",
       [](Cronvel& c, const std::u16string& h) { return c.ResetMem(h); },
       {2, 27, 0x54},
       false,
       false,
       false,
       true},
      {"TestConnection",
       [](Cronvel& c, const std::u16string& h) { return c.TestConnection(h); },
       {2, 18},
       true,
       true,
       true,
       true},
      {"SetDayLight",
       [](Cronvel& c, const std::u16string& h) { return c.SetDayLight(h, 21, 3, 22, 9); },
       {2, 29, 0x21, 0x03, 0x22, 0x09},
       true,
       false,
       false,
       false},
  };
}

std::string bytesWith(const char* verb, const Bytes& body, bool pauseAfterLast) {
  std::string text;
  for (std::size_t i = 0; i < body.size(); ++i) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "; %s %02X", verb, static_cast<unsigned>(body[i]));
    text += entry;
    if (pauseAfterLast || i + 1 < body.size()) text += "; sleep 50";
  }
  return text;
}

class ClockCommandsTest : public ControlTest {};

TEST_F(ClockCommandsTest, OnTheSerialLine) {
  control->DeviceNum(12);
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    const bool isTest = row.name == std::string("TestConnection");
    const std::string expected =
        std::string("settings 600,m,8,1; open; discard in") + (isTest ? "; discard out" : "") +
        "; out 12; sleep 50; settings 600," + (isTest ? "n" : "s") + ",8,1" +
        bytesWith("out", row.body, row.pauseAfterLast) + "; discard in";
    // No answer, a refusal that starts a longer block, an answer.
    for (const Bytes& reply : {Bytes{}, Bytes{0, 24}, Bytes{24, 0}}) {
      platform.terminal.startAnew();
      if (!reply.empty()) platform.terminal.replyAfter(row.body.size() + 1, 0.2, reply);
      if (platform.port->PortOpen()) platform.port->PortOpen(false);
      // Without a hold, SetDayLight's reply would be taken for monitoring data: see below.
      if (row.onOtherwise) monitoringOn();
      transcript().take();
      const bool accepted = reply == Bytes{24, 0};
      const double start = platform.time.elapsed();
      EXPECT_EQ(row.call(*control, serial), accepted);
      EXPECT_EQ(transcript().take(), expected);
      EXPECT_EQ(control->MonitoringON(), reply.empty() ? row.onOtherwise : row.onAfterSerialReply);
      const double pauses = 0.05 * static_cast<double>(row.body.size() + row.pauseAfterLast);
      EXPECT_NEAR(platform.time.elapsed() - start,
                  reply.empty() ? pauses + 5 : pauses + 0.2 - (row.pauseAfterLast ? 0.05 : 0),
                  0.01);
    }
  }
}

TEST_F(ClockCommandsTest, OnTheNetwork) {
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    const std::string opening =
        row.listens ? "local port 5000; listen; close 0; accept 7" : "connect 10.0.0.9";
    const std::string expected = opening + "; send 01; sleep 50" +
                                 bytesWith("send", row.body, row.pauseAfterLast) + "; close 0";
    for (const Bytes& reply : {Bytes{}, Bytes{15}, Bytes{24}}) {
      platform.terminal.startAnew();
      if (!reply.empty()) platform.terminal.replyAfter(row.body.size() + 1, 0.2, reply);
      if (row.listens) platform.time.after(9.9, [this] { platform.sockets->connectIn(0); });
      monitoringOn();
      EXPECT_EQ(row.call(*control, row.listens ? u"gate-5000" : host), reply == Bytes{24});
      EXPECT_EQ(transcript().take(), expected);
      EXPECT_EQ(control->MonitoringON(), row.onOtherwise);
    }
  }
}

TEST_F(ClockCommandsTest, BehindAModemNothingTouchesTheSettings) {
  control->DialupConnection(true);
  monitoringOn();
  const std::string box = "box ارتباط مودم: ارتباط برقرار نيست. ابتدا شماره گيري كنيد. [OK]";
  for (const Row& row : rows()) {
    SCOPED_TRACE(row.name);
    EXPECT_FALSE(row.call(*control, serial));
    EXPECT_EQ(transcript().take(), box);
    EXPECT_FALSE(row.call(*control, row.listens ? u"gate-5000" : host));  // refused there too
    EXPECT_EQ(transcript().take(), box);
    EXPECT_TRUE(control->MonitoringON());
  }
  platform.port->carrier = true;
  EXPECT_EQ(errorOf([&] { control->ResetMem(serial); }), 8018);  // no command opens the port
  platform.port->PortOpen(true);
  transcript().take();
  control->ResetMem(serial);
  EXPECT_EQ(transcript().take(),
            "discard in; out 01; sleep 50; out 02; sleep 50; out 1B; sleep 50; out 54; discard in");
}

TEST_F(ClockCommandsTest, SetDayLightDoesNotHoldMonitoring) {
  monitoringOn();
  platform.terminal.replyAfter(7, 0.2, {24});
  EXPECT_FALSE(control->SetDayLight(serial, 21, 3, 22, 9));
  ASSERT_EQ(events.monitoring.size(), 1U);  // the host got the reply
  EXPECT_EQ(events.monitoring[0].bytes, Bytes{24});
  EXPECT_FALSE(control->MonitoringON());
}

TEST_F(ClockCommandsTest, AddressesUpTo159) {
  const std::pair<std::uint8_t, const char*> cases[] = {
      {0, "out 00"}, {10, "out 10"}, {99, "out 99"}, {159, "out F9"}};
  for (const auto& [number, out] : cases) {
    control->DeviceNum(number);
    control->ResetMem(serial);
    EXPECT_NE(transcript().take().find(out), std::string::npos) << int{number};
  }
  control->DeviceNum(160);
  monitoringOn();
  EXPECT_EQ(errorOf([&] { control->ResetMem(serial); }), 5);
  EXPECT_EQ(transcript().take(), "settings 600,m,8,1; discard in");
  EXPECT_FALSE(control->MonitoringON());  // nothing is undone
  EXPECT_EQ(errorOf([&] { control->ResetMem(host); }), 6);
  EXPECT_EQ(transcript().take(), "connect 10.0.0.9");
}

TEST_F(ClockCommandsTest, AByteIsMadeWhenItsTurnComes) {
  EXPECT_EQ(errorOf([&] { control->SetDayLight(serial, 1, 2, 160, 4); }), 6);
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1; out 02; "
            "sleep 50; out 1D; sleep 50; out 01; sleep 50; out 02; sleep 50");
  EXPECT_EQ(errorOf([&] { control->SetDayLight(host, 160, 2, 3, 4); }), 6);
  EXPECT_EQ(transcript().take(),
            "connect 10.0.0.9; send 01; sleep 50; send 02; sleep 50; send 1D; sleep 50");
  EXPECT_EQ(errorOf([&] { control->SetTime(serial, std::u16string(u"soon")); }), 13);
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; discard in; out 01; sleep 50; settings 600,s,8,1; out 02; "
            "sleep 50; out 0A; sleep 50");
  control->SetDate(serial, u"1x", 1);  // what is missing or no digit is 0
  EXPECT_NE(
      transcript().take().find("out 01; sleep 50; out 00; sleep 50; out 00; sleep 50; out 10"),
      std::string::npos);
}

TEST_F(ClockCommandsTest, ErrorsOfThePortLeaveEverythingAsItWas) {
  monitoringOn();
  transcript().failAt("open", ErrorNumber::invalidPortNumber);
  EXPECT_EQ(errorOf([&] { control->ResetMem(serial); }), 8002);
  EXPECT_FALSE(control->MonitoringON());

  monitoringOn();
  transcript().failAt("connect 10.0.0.9", ErrorNumber::invalidOperationAtState);
  EXPECT_EQ(errorOf([&] { control->ResetMem(host); }), 40020);
  EXPECT_TRUE(control->MonitoringON());  // the connection comes before the hold

  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->ResetMem(serial));  // and the next command works
}

TEST_F(ClockCommandsTest, TheListenPortStandsAfterTheFirstDash) {
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
}

TEST_F(ClockCommandsTest, NobodyConnectsInWithinTenSeconds) {
  monitoringOn();
  const double start = platform.time.elapsed();
  platform.time.after(10.1, [this] { platform.sockets->connectIn(0); });
  EXPECT_FALSE(control->TestConnection(u"gate-5000"));
  EXPECT_NEAR(platform.time.elapsed() - start, 10, 0.01);
  EXPECT_TRUE(control->MonitoringON());
  EXPECT_EQ(platform.notes.back(), "no terminal connected in within 10 s");
}

TEST_F(ClockCommandsTest, ABlankHostIsTheNetwork) {
  control->ResetMem(u" ");
  EXPECT_EQ(transcript().take().substr(0, 9), "connect  ");
}

TEST_F(ClockCommandsTest, TheWaitEndsAtItsLimitAndAtTheFirstChunk) {
  for (const auto& [delay, accepted] : {std::pair{4.9, true}, {5.1, false}}) {
    platform.terminal.startAnew();
    platform.terminal.replyAfter(4, delay, {24});
    EXPECT_EQ(control->ResetMem(serial), accepted) << delay;
    platform.time.run(1);
  }
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 0.1, {0});
  platform.terminal.replyAfter(4, 0.2, {24});  // a reply is not put together from pieces
  EXPECT_FALSE(control->ResetMem(serial));
  platform.time.run(1);
  platform.terminal.replyAfter(7, 0.04, {24});  // what comes before the last pause ends is noise
  EXPECT_FALSE(control->TestConnection(serial));
}

TEST_F(ClockCommandsTest, OldNetworkDataIsNoReply) {
  platform.time.after(0.01, [this] { platform.sockets->feed(0, {24}); });
  EXPECT_FALSE(control->ResetMem(host));
}

TEST_F(ClockCommandsTest, AcrossMidnightItWaitsUntilAReplyComes) {
  platform.time.setTimeOfDay(86398);
  platform.terminal.replyAfter(4, 60, {24});
  EXPECT_TRUE(control->ResetMem(serial));
}

TEST_F(ClockCommandsTest, NotesSayWhyACommandFailed) {
  control->DeviceNum(12);
  control->ResetMem(serial);
  EXPECT_EQ(platform.notes.back(), "no reply within 5 s: nothing came from terminal 12");
  platform.terminal.replyAfter(8, 0.1, {0x0F});
  control->ResetMem(serial);
  EXPECT_EQ(platform.notes.back(),
            "reply 15 (0F hex) instead of 24 (18 hex): terminal 12 has refused, or the line is "
            "disturbed");
}

}  // namespace
}  // namespace cronvel::test
