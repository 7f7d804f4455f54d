#include "simulator/wire/Modem.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "TestBench.h"

namespace cronvel::simulator {
namespace {

using Answer = ModemOptions::Answer;
using Parity = LineSettings::Parity;

class ModemTest : public testing::Test {
 protected:
  ~ModemTest() override { std::filesystem::remove(mLinesFile); }

  void start(const ModemOptions& options) {
    mBench.bus.reset();  // the bench's line has the modem instead of the terminals
    mModem = std::make_unique<Modem>(std::make_unique<FakeLine>(mBench.pc),
                                     std::vector{&mBench.one, &mBench.two}, mBench.scheduler,
                                     mBench.journal, options);
    mBench.pc.set(4800, Parity::none);
  }
  void send(const std::string& text) { mBench.pc.send(Bytes(text.begin(), text.end())); }
  /// What the modem has said since the last call, after some time.
  std::string said(double milliseconds) {
    mBench.scheduler.advance(milliseconds);
    const Bytes bytes = std::exchange(mBench.pc.received, {});
    return {bytes.begin(), bytes.end()};
  }
  Bytes replyTo(std::uint8_t address, const Bytes& body) {
    mBench.sendPaced({address});
    mBench.sendPaced(body);
    mBench.pc.received.clear();
    mBench.scheduler.advance(1000);
    return std::exchange(mBench.pc.received, {});
  }
  std::string hangUpReason() const {
    const Event event = mBench.last("hang-up");
    return event.fields.value("reason", "");
  }
  int line(int number) const {
    std::ifstream in(mLinesFile, std::ios::binary);
    in.seekg(number);
    return in.get();
  }
  void fallOfDtr() {
    std::fstream(mLinesFile, std::ios::binary | std::ios::in | std::ios::out)
        .seekp(2)
        .put(static_cast<char>(line(2) + 1));
  }

  Bench mBench;
  std::unique_ptr<Modem> mModem;
  std::string mLinesFile = (std::filesystem::temp_directory_path() /
                            ("modem-lines-" + std::to_string(std::random_device()())))
                               .string();
};

TEST_F(ModemTest, WhatBecomesOfACall) {
  start({.answers = {Answer::busy, Answer::noCarrier, Answer::silent, Answer::connect},
         .delay = 1000,
         .pieces = true,
         .linesFile = mLinesFile});
  send("ATDP77");
  send("88\r\n");  // a number can come in pieces, and the line feed does not end the call
  EXPECT_EQ(mBench.last("dial").fields, Json({{"number", "7788"}, {"pulse", true}}));
  EXPECT_EQ(said(999), "");
  EXPECT_EQ(said(1), "\r\nB");
  EXPECT_EQ(said(300), "USY");
  EXPECT_EQ(said(300), "\r\n");
  send("ATDT0,1\r");
  EXPECT_EQ(mBench.last("dial").fields, Json({{"number", "0,1"}, {"pulse", false}}));
  EXPECT_EQ(said(1000), "\r\nNO CARRIER\r\n");
  send("ATDP7788\r\n");
  EXPECT_EQ(said(200'000), "");
  send("A");  // a key breaks the attempt off
  send("TDP7788\r\n");
  EXPECT_EQ(said(999), "\r\nNO CARRIER\r\n");
  EXPECT_EQ(line(0), 0);
  EXPECT_EQ(said(1), "\r\nCONNECT 4800\r\n");
  EXPECT_EQ(line(0), 1);
  mModem.reset();
  EXPECT_EQ(line(0), 0);
}

TEST_F(ModemTest, InACallTheTerminalsAreReachedAtTheModemsOwnSettings) {
  start({.delay = 0});
  send("ATZ\r\n");
  EXPECT_EQ(said(10), "\r\nOK\r\n");
  EXPECT_EQ(replyTo(0x01, {2, 18}), Bytes{});  // nobody is called yet
  send("\rATDP7788\r\n");
  said(10);
  EXPECT_EQ(replyTo(0x01, {2, 18}), Bytes{24});
  EXPECT_EQ(replyTo(0x02, {2, 16, 5}), Bytes{24});
  EXPECT_EQ(mBench.two.stateFields()["keypad"], 5);
  EXPECT_EQ(replyTo(0x09, {2, 18}), Bytes{});
  EXPECT_EQ(replyTo('A', {'T', 'H'}), Bytes{});  // byte by byte it is the terminals'
  mBench.pc.set(600, Parity::space);
  EXPECT_EQ(replyTo(0x01, {2, 18}), Bytes{});
  EXPECT_NE(mBench.last("ignored").fields["reason"].get<std::string>().find("600 baud"),
            std::string::npos);
}

TEST_F(ModemTest, WaysACallEnds) {
  start({.delay = 0, .carrierLoss = 30, .linesFile = mLinesFile});
  const auto call = [this] {
    mBench.pc.set(4800, Parity::none);
    send("ATDP7788\r\n");
    EXPECT_EQ(said(30), "\r\nCONNECT 4800\r\n");
    EXPECT_EQ(line(0), 1);
  };
  call();
  send("ATH");
  EXPECT_EQ(hangUpReason(), "ATH");
  EXPECT_EQ(line(0), 0);
  EXPECT_EQ(said(0), "\r\nNO CARRIER\r\n\r\nOK\r\n");

  call();
  fallOfDtr();
  EXPECT_EQ(said(20), "\r\nNO CARRIER\r\n");
  EXPECT_EQ(hangUpReason(), "data terminal ready has fallen");
  EXPECT_EQ(line(0), 0);

  call();  // a fall and the next number, faster than the modem looks
  fallOfDtr();
  send("ATDP1\r\n");
  EXPECT_EQ(said(30), "\r\nNO CARRIER\r\n\r\nCONNECT 4800\r\n");

  mBench.pc.set(0, Parity::none);
  said(20);
  EXPECT_EQ(hangUpReason(), "the port was closed");

  call();
  EXPECT_EQ(said(29'969), "");
  EXPECT_EQ(said(31), "\r\nNO CARRIER\r\n");
  EXPECT_EQ(hangUpReason(), "the line was lost");
  EXPECT_EQ(line(0), 0);

  call();
  Faults faults;
  faults.drop = true;
  mBench.one.faults(faults);
  EXPECT_EQ(replyTo(0x01, {2, 18}),
            (Bytes{'\r', '\n', 'N', 'O', ' ', 'C', 'A', 'R', 'R', 'I', 'E', 'R', '\r', '\n'}));
  EXPECT_EQ(hangUpReason(), "by the terminal");
}

}  // namespace
}  // namespace cronvel::simulator
