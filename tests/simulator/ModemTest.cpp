#include "simulator/wire/Modem.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "TestBench.h"

namespace cronvel::simulator {

struct Line : SerialLineEnd {
  using Handler = std::function<void(std::span<const std::uint8_t>, const LineSettings&)>;
  std::string path() const override { return {}; }
  LineSettings settings() const override { return set; }
  void send(std::span<const std::uint8_t> b) override { said.append(b.begin(), b.end()); }
  void onReceive(Handler handler) override { take = std::move(handler); }

  LineSettings set{4800, Parity::none};
  std::string said;
  Handler take;
};

class ModemTest : public testing::Test {
 protected:
  ~ModemTest() override { std::filesystem::remove(mLinesFile); }

  void start(ModemOptions options) {
    options.linesFile = mLinesFile;
    auto line = std::make_unique<Line>();
    mLine = line.get();
    mModem = std::make_unique<Modem>(std::move(line), std::vector{&mBench.one}, mBench.scheduler,
                                     mBench.journal, options);
  }
  void send(const std::string& text) { mLine->take(Bytes(text.begin(), text.end()), mLine->set); }
  /// What the modem says in some time.
  std::string said(double milliseconds) {
    mBench.scheduler.advance(milliseconds);
    return std::exchange(mLine->said, {});
  }
  void fallOfDtr() {
    std::ofstream(mLinesFile, std::ios::binary) << '\0' << '\0' << static_cast<char>(++mFalls);
  }

  Bench mBench;
  Line* mLine = nullptr;
  std::unique_ptr<Modem> mModem;
  int mFalls = 0;
  const std::string mNoCarrier = "\r\nNO CARRIER\r\n", mConnect = "\r\nCONNECT 4800\r\n";
  const std::string mLinesFile =
      testing::TempDir() + "modem-lines-" + std::to_string(std::random_device()());
};

TEST_F(ModemTest, WhatBecomesOfACall) {
  using enum ModemOptions::Answer;
  start({.answers = {busy, noCarrier, silent, connect}, .delay = 1000, .pieces = true});
  send("ATDP77");
  send("88\r\n");  // a number can come in pieces, and the line feed does not end the call
  EXPECT_EQ(mBench.last["dial"], Json({{"number", "7788"}, {"pulse", true}}));
  EXPECT_EQ(said(999), "");
  EXPECT_EQ(said(1), "\r\nB");
  EXPECT_EQ(said(300), "USY");
  EXPECT_EQ(said(300), "\r\n");
  send("ATDT0,1\r");
  EXPECT_EQ(mBench.last["dial"], Json({{"number", "0,1"}, {"pulse", false}}));
  EXPECT_EQ(said(1000), mNoCarrier);
  send("ATDP7788\r\n");
  EXPECT_EQ(said(200'000), "");
  send("A");  // a key breaks the attempt off
  send("TDP7788\r\n");
  EXPECT_EQ(said(999), mNoCarrier);
  EXPECT_EQ(said(1), mConnect);
}

TEST_F(ModemTest, InACallTheTerminalsAreReachedAtTheModemsOwnSettings) {
  start({.delay = 0});
  const std::string command = "\1\2\x12";
  send(command + "\rATDP7788\r\n");  // nobody is called yet
  EXPECT_EQ(said(1000), mConnect);
  for (const auto& [speed, reply] : {std::pair(600, ""), {4800, "\x18"}}) {
    mLine->set.speed = speed;
    send(command);
    EXPECT_EQ(said(1000), reply);
  }
}

TEST_F(ModemTest, WaysACallEnds) {
  start({.delay = 0, .carrierLoss = 30});
  const std::tuple<std::function<void()>, std::string, std::string> ways[] = {
      {[&] { send("ATH"); }, "ATH", mNoCarrier + "\r\nOK\r\n"},
      {[&] { fallOfDtr(); }, "data terminal ready has fallen", mNoCarrier},
      {[&] { mLine->set.speed = 0; }, "the port was closed", mNoCarrier},
      {[&] { EXPECT_EQ(said(29'969), ""); }, "the line was lost", mNoCarrier},
      {[&] { fallOfDtr(), send("ATDP1\r"); },  // faster than the modem looks
       "data terminal ready has fallen", mNoCarrier + mConnect}};
  for (const auto& [end, reason, words] : ways) {
    SCOPED_TRACE(reason);
    mLine->set.speed = 4800;
    send("ATDP7788\r\n");
    EXPECT_TRUE(said(30).ends_with(mConnect));
    end();
    EXPECT_EQ(said(31), words);
    EXPECT_EQ(mBench.last["hang-up"]["reason"], reason);
  }
}

}  // namespace cronvel::simulator
