// Every command of the table against the fakes, on every transport and with every outcome.

#include "tests/support/Commands.h"
#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const std::u16string serialHost;
const std::u16string networkHost = u"gate-5000";
const std::string noCarrierBox = "box ارتباط مودم: ارتباط برقرار نيست. ابتدا شماره گيري كنيد. [OK]";

class CommandsTest : public ControlTest {
 protected:
  CommandsTest() : mBefore(std::filesystem::current_path()) {
    std::filesystem::current_path(folder.path());
    folder.write("cards.txt", cardFile);
  }
  ~CommandsTest() override { std::filesystem::current_path(mBefore); }

  struct Run {
    std::string result;
    std::string transcript;
    double wait;  ///< seconds beyond the pauses
    bool monitoring;
    double end;
  };

  /// Runs it with a reply so many seconds after the last pause.
  Run run(const Command& command, const std::u16string& host, const Bytes& reply = {},
          double delay = 0) {
    const std::string& body = host.empty() ? command.body : command.networkBody;
    platform.terminal.startAnew();
    if (!reply.empty())
      platform.terminal.replyAfter(bytesOf(body).size() + 1, delay + pauseAfterLast(body), reply);
    if (command.monitoring != "off") monitoringOn();  // it would take the reply, see below
    if (platform.sockets->at(0).State() != sckClosed) control->WinSockClose(0);
    transcript().take();
    const double start = platform.time.elapsed() - platform.time.slept;
    Run run{command.call.run(*control, host), transcript().take(),
            platform.time.elapsed() - platform.time.slept - start, control->MonitoringON(),
            platform.time.elapsed()};
    control->MonitoringON(false);
    platform.time.run(1);  // what comes late is not the next command's
    if (platform.port->PortOpen()) platform.port->PortOpen(false);
    return run;
  }

  /// With every outcome on one line: no reply, a refusal, a reply just in time, one just too late.
  /// `exchange` is what has to be seen, `extra` the seconds before the wait.
  template <typename Exchange>
  void tryOutcomes(const Command& command, const std::u16string& host, double wait, double extra,
                   Exchange&& exchange) {
    const Result& result = command.result;
    const auto attempt = [&](const char* what, const Bytes& reply, double delay,
                             const std::string& became) {
      SCOPED_TRACE(command.call.name() + ", " + what);
      const bool replied = delay > 0 && delay < wait;
      const std::string expected = exchange(replied);
      const Run was = run(command, host, reply, delay);
      EXPECT_EQ(was.result, became);
      EXPECT_EQ(was.transcript, expected);
      const double waited = replied ? delay + (result.isStream ? wait : 0) : wait;
      EXPECT_NEAR(was.wait, waited + extra, 0.02);
      EXPECT_EQ(was.monitoring, command.monitoring == "kept" || command.monitoring == "-" ||
                                    (command.monitoring != "off" && !(replied && host.empty())));
    };
    attempt("silent", {}, 0, result.silent);
    if (wait == 0) return;
    attempt("in time", result.reply, wait - 0.1, result.accepted);
    attempt("refused", {15}, 0.2, result.refused);
    attempt("late", result.reply, wait + 0.1, result.silent);
  }

  std::int16_t indexOf(const Command& command) const {
    const int index = command.network == Network::joins ? platform.sockets->upperBound() + 1 : 0;
    return static_cast<std::int16_t>(index);
  }
  std::string socketOf(const Command& command) const { return std::to_string(indexOf(command)); }
  void connectInAfter(double seconds, std::int16_t index) {
    platform.time.after(seconds, [this, index] { platform.sockets->connectIn(index); });
  }

  const TestFolder folder;
  std::map<std::string, int> endings;

 private:
  std::filesystem::path mBefore;
};

TEST_F(CommandsTest, OnTheSerialLine) {
  for (const Command& command : commands()) {
    if (!command.serial()) continue;
    const Result& result = command.result;
    tryOutcomes(command, serialHost, result.wait, 0,
                [&](bool replied) { return transcriptOf(command, Line::serial, replied); });
    control->DialupConnection(true);
    platform.port->carrier = [] { return true; };
    platform.port->PortOpen(true);
    EXPECT_EQ(run(command, serialHost).transcript, transcriptOf(command, Line::modem, false))
        << command.call.name();
    control->DialupConnection(false);
  }
}

TEST_F(CommandsTest, OnTheNetwork) {
  for (const Command& command : commands()) {
    if (command.network == Network::none) continue;
    const bool connects = command.network == Network::connects;
    const double connected = connects ? 0 : 9.9;
    tryOutcomes(command, networkHost, command.networkWait, connected, [&](bool replied) {
      if (!connects) connectInAfter(connected, indexOf(command));
      return transcriptOf(command, Line::network, replied, socketOf(command));
    });
  }
}

TEST_F(CommandsTest, WhereNobodyConnectsInNothingIsSent) {
  folder.write("all.Hex", "old");
  for (const Command& command : commands()) {
    if (command.network == Network::none || command.network == Network::connects) continue;
    SCOPED_TRACE(command.call.name());
    const std::string socket = socketOf(command);
    const bool limited = command.network != Network::awaits;
    platform.time.after(10.1, [this] { platform.sockets->connectIn(0); });
    if (!limited) platform.time.after(3, [this] { control->WinSockClose(0); });  // the host's way
    const Run was = run(command, networkHost);
    EXPECT_EQ(was.result, command.result.notSent);
    EXPECT_EQ(was.transcript, notConnectedOf(command, socket) + (limited ? "" : "; close 0"));
    EXPECT_NEAR(was.wait, limited ? 10 : 3, 0.02);
    EXPECT_TRUE(was.monitoring);
    EXPECT_FALSE(platform.sockets->exists(1));
  }
  EXPECT_EQ(folder.read("all.Hex"), "old");
}

/// Told to end in a pause, in the wait for a connection or in the one for a reply, from a handler
/// or by another thread: what is seen on the line afterwards.
TEST_F(CommandsTest, EndedAnywhereTheySendNothingMoreAndReturnAtOnce) {
  for (const Command& command : commands())
    for (const auto& host : {serialHost, networkHost})
      for (const double when : {0.12, 3.0, 9.95}) {
        if (host.empty() ? !command.serial() : command.network == Network::none) continue;
        for (const bool inHandler : {false, true}) {
          SCOPED_TRACE(command.call.name() + toUtf8(host) + " after " + std::to_string(when));
          if (!host.empty()) connectInAfter(9.9, indexOf(command));
          double asked = 0;
          const auto ask = [&] {
            transcript().add("END");
            asked = platform.time.elapsed();
            control->endCommand();
          };
          inHandler ? platform.time.after(when, ask) : platform.time.arriveAfter(when, ask);
          const Run was = run(command, host);
          const std::size_t end = was.transcript.find("END");
          platform.time.forgetPlans();
          while (platform.sockets->upperBound() > 0)
            platform.sockets->unload(platform.sockets->upperBound());
          if (end == std::string::npos) continue;
          ++endings[command.call.member];
          EXPECT_LT(was.end - asked, 0.05);
          const std::string after = was.transcript.substr(end);
          const bool isCardFile = command.call.member == "AddCardFile";  // whole cards only
          EXPECT_TRUE(isCardFile || (after + "out send").find("out ") >= after.size()) << after;
          EXPECT_TRUE(isCardFile || (after + "out send").find("send") >= after.size()) << after;
          const bool isDownload = command.call.member.starts_with("GetData");
          const std::string& silent = isDownload ? command.result.accepted : command.result.silent;
          EXPECT_TRUE(was.result == silent || was.result == command.result.notSent) << was.result;
        }
      }
  for (const Command& command : commands())
    EXPECT_GT(endings[command.call.member], command.result.wait > 0 ? 2 : 0);
}

TEST_F(CommandsTest, BehindAModemWithoutCarrierNothingIsSent) {
  control->DialupConnection(true);
  folder.write("all.Hex", "old");
  for (const Command& command : commands())
    for (const auto& host : {serialHost, networkHost}) {
      SCOPED_TRACE(command.call.name());
      if (!command.serial() && host.empty()) continue;
      monitoringOn();
      EXPECT_EQ(command.call.run(*control, host), command.result.notSent);
      EXPECT_EQ(transcript().take(), noCarrierBox);
      EXPECT_TRUE(control->MonitoringON());
    }
  control->MonitoringON(false);
  control->SetMonitoringOffGroup(u"all", false);
  EXPECT_TRUE(control->MonitoringON());
  EXPECT_FALSE(control->ReaderOn());
  EXPECT_EQ(folder.read("all.Hex"), "old");
  platform.port->carrier = [] { return true; };
  EXPECT_EQ(errorOf([&] { control->ResetMem(serialHost); }), 8018);  // no command opens the port
}

TEST_F(CommandsTest, WhatFitsNoByteFailsWhenItsTurnComes) {
  for (const Failure& failure : failures()) {
    SCOPED_TRACE(failure.call.name() + " " + failure.sent);
    if (platform.port->PortOpen()) platform.port->PortOpen(false);
    transcript().take();
    EXPECT_EQ(errorOf([&] { failure.call.run(*control, serialHost); }), failure.number);
    const std::string sent = transcript().take();
    EXPECT_EQ(sent,
              exchangeOf((sent.find("discard out") < sent.size() ? "^ " : "") + failure.sent));
    EXPECT_EQ(errorOf([&] { failure.call.run(*control, u"clock"); }), failure.number);
    EXPECT_EQ(transcript().take(), "connect clock; " + requestOf(failure.sent, Line::network));
    control->WinSockClose(0);
  }
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->ResetMem(serialHost));  // and the control is usable afterwards
}

}  // namespace
}  // namespace cronvel::test
