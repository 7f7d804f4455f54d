// Every command of the table against the fakes, on every line and with every outcome.

#include <gtest/gtest.h>

#include "tests/support/Attempt.h"

namespace cronvel::test {
namespace {

const std::string noCarrierBox = "box ارتباط مودم: ارتباط برقرار نيست. ابتدا شماره گيري كنيد. [OK]";

class CommandsTest : public testing::Test {
 protected:
  /// On every line that it has.
  template <typename Try>
  void withEach(Try&& attempt) {
    for (const Command& command : commands())
      for (const Line line : {Line::serial, Line::modem, Line::network})
        if (line == Line::network ? command.network != Network::none : command.serial())
          attempt(command, line);
  }
  Transcript& transcript() { return machine.platform.transcript; }

  Machine machine;
  Cronvel& control = *machine.control;
};

TEST_F(CommandsTest, WithEveryAnswerInTimeAndTooLate) {
  withEach([this](const Command& command, Line line) {
    const Bytes& good = command.result.reply;
    const double wait = line == Line::network ? command.networkWait : command.result.wait;
    const auto attempt = [&](double connects, const std::vector<Attempt::Block>& answer) {
      Attempt(machine, command, line, connects, answer).run();
    };
    attempt(9.9, {});
    attempt(10.1, {});
    if (wait == 0) return;
    attempt(9.9, {{wait - 0.1, good}});
    attempt(9.9, {{wait + 0.1, good}});
    attempt(9.9, {{0.2, {15}}, {0.2, good}});
    // What a stream's commands gather until its silence; more than 101 bytes are no properties.
    attempt(9.9, {{1, Bytes(100, 1)}, {4.9, {1}}});
    attempt(9.9, {{1, Bytes(101, 1)}, {4.9, {1}}});
  });
}

/// Told to end in a pause, in the wait for a connection or in the one for a reply, from a handler
/// or by another thread.
TEST_F(CommandsTest, EndedAnywhereTheySendNothingMoreAndReturnAtOnce) {
  withEach([this](const Command& command, Line line) {
    for (const double when : {0.12, 3.0, 9.95})
      for (const auto how : {Attempt::Ends::inHandler, Attempt::Ends::elsewhere}) {
        Attempt attempt(machine, command, line, 9.9, {});
        attempt.endAt(when, how);
        attempt.run();
      }
  });
}

TEST_F(CommandsTest, BehindAModemWithoutCarrierNothingIsSent) {
  machine.platform.port->carrier = [] { return false; };
  machine.folder.write("all.Hex", "old");
  withEach([this](const Command& command, Line line) {
    SCOPED_TRACE(command.call.name());
    machine.startAnew(Line::modem, true);
    EXPECT_EQ(command.call.run(control, line == Line::network ? Attempt::host : u""),
              command.result.notSent);
    EXPECT_EQ(transcript().take(), noCarrierBox);
    EXPECT_TRUE(control.MonitoringON());
  });
  control.MonitoringON(false);
  control.SetMonitoringOffGroup(u"all", false);
  EXPECT_TRUE(control.MonitoringON());
  EXPECT_FALSE(control.ReaderOn());
  EXPECT_EQ(machine.folder.read("all.Hex"), "old");
  machine.platform.port->carrier = [] { return true; };
  machine.platform.port->PortOpen(false);
  EXPECT_EQ(errorOf([&] { control.ResetMem(u""); }), 8018);  // no command opens the port
}

TEST_F(CommandsTest, WhatFitsNoByteFailsWhenItsTurnComes) {
  for (const Failure& failure : failures()) {
    SCOPED_TRACE(failure.call.name() + " " + failure.sent);
    machine.startAnew(Line::serial, false);
    EXPECT_EQ(errorOf([&] { failure.call.run(control, u""); }), failure.number);
    const std::string sent = transcript().take();
    EXPECT_EQ(sent,
              exchangeOf((sent.find("discard out") < sent.size() ? "^ " : "") + failure.sent));
    EXPECT_EQ(errorOf([&] { failure.call.run(control, u"clock"); }), failure.number);
    EXPECT_EQ(transcript().take(), "connect clock; " + requestOf(failure.sent, Line::network));
  }
}

}  // namespace
}  // namespace cronvel::test
