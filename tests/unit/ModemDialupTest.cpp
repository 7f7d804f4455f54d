#include "link/ModemDialup.h"

#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const std::string dialled = "settings 4800,N,8,1; open; out 41 54 44 50 37 37 38 38 0D 0A";
constexpr std::size_t dialledBytes = 10;
const std::string busyBox = "; box اشغال خط: خط مشغول است.آيا دوباره سعي شود؟ [Yes] [No]";
const std::string connectedBox = "; box ارتباط: ارتباط برقرار شد. [OK]";
const std::string invalidBox = "box ارتباط مودم: شماره تلفن داده شده معتبر نمي باشد. [OK]";

class ModemDialupTest : public ControlTest {
 protected:
  ModemDialupTest() { control->TelNum(u"7788"); }

  std::string transcript() { return platform.transcript.take(); }
  void answer(double delay, const std::string& text, std::size_t dials = 1) {
    platform.terminal.replyAfter(dials * dialledBytes, delay, Bytes(text.begin(), text.end()));
  }
  void carrierAfter(double seconds, bool on = true) {
    platform.time.after(seconds, [this, on] { platform.port->carrier = on; });
  }
  double elapsed() const { return platform.time.elapsed() - mStart; }

  Cronvel& mModem = *control;
  double mStart = platform.time.elapsed();
};

TEST_F(ModemDialupTest, ACarrierMakesTheConnection) {
  mModem.BPS(u"9600");  // means nothing here
  answer(1, "ATDP7788\r\n\r\nCONNECT 9600\r\n");
  carrierAfter(119.9);
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(), dialled + connectedBox);
  EXPECT_TRUE(mModem.DialupConnection());
  EXPECT_TRUE(platform.port->PortOpen());
}

TEST_F(ModemDialupTest, WhatIsNoNumberIsNotDialled) {
  for (const char16_t* TelNum : {u"0", u"", u"+98 21", u" 7788", u"#1", u"/"}) {
    mModem.TelNum(TelNum);
    mModem.DialupConnection(true);
    EXPECT_EQ(mModem.Dial(), 4);
    EXPECT_EQ(transcript(), invalidBox);
    EXPECT_FALSE(mModem.DialupConnection());
  }
  platform.port->PortOpen(true);
  EXPECT_EQ(mModem.Dial(), 4);
  EXPECT_EQ(transcript(), "open; close; " + invalidBox);
}

TEST_F(ModemDialupTest, ALeadingZeroOrALetterIsDialledAndStrangeCharactersAreReplaced) {
  carrierAfter(0);
  mModem.TelNum(u"00W,\u06F5");
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(),
            "settings 4800,N,8,1; open; out 41 54 44 50 30 30 57 2C 3F 0D 0A" + connectedBox);
}

TEST_F(ModemDialupTest, ABusyLineIsDialledAgainAsOftenAsTheUserWants) {
  for (std::size_t dials = 1; dials <= 3; ++dials) {
    answer(1, "\r\nBU", dials);
    answer(2, "SY\r", dials);
  }
  platform.box.answers = {MsgBox::Answer::yes, MsgBox::Answer::yes};
  EXPECT_EQ(mModem.Dial(), 2);
  const std::string attempt = dialled + busyBox + "; close";
  EXPECT_EQ(transcript(), attempt + "; " + attempt + "; " + attempt);
  EXPECT_NEAR(elapsed(), 6, 0.1);
  EXPECT_FALSE(mModem.DialupConnection());

  answer(1, "BUSY", 4);
  platform.box.answers = {MsgBox::Answer::yes};
  carrierAfter(5);
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(), attempt + "; " + dialled + connectedBox);
}

TEST_F(ModemDialupTest, EveryAttemptHasItsOwnTwoMinutesAndAnswerAndNoCarrierLeavesThePortOpen) {
  answer(100, "BUSY");
  answer(1, "busy, NO CARRIER", 2);
  platform.box.answers = {MsgBox::Answer::yes};
  EXPECT_EQ(mModem.Dial(), 3);
  EXPECT_EQ(transcript(),
            dialled + busyBox + "; close; " + dialled + "; box خطا: اشكال در ارتباط با مودم؟ [OK]");
  EXPECT_NEAR(elapsed(), 100 + 120, 0.1);
  EXPECT_TRUE(platform.port->PortOpen());
  EXPECT_FALSE(mModem.DialupConnection());

  carrierAfter(1);  // the next call starts afresh
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(), "close; " + dialled + connectedBox);
}

TEST_F(ModemDialupTest, ACarrierThatIsGoneAtOnceIsNoConnection) {
  // It lasts for one look of the wait loop.
  struct Blip : FakeSerialPort {
    using FakeSerialPort::FakeSerialPort;
    bool CDHolding() override { return ++looks == 3; }
    int looks = 0;
  };
  struct Blinking : FakePlatform {
    std::unique_ptr<SerialPort> makeSerialPort() override {
      return std::make_unique<Blip>(transcript, time, terminal);
    }
  } machine;
  machine.time.stepPerRead = 1000;  // for the calibration
  Cronvel blinking(machine, container, events);
  machine.time.stepPerRead = 0;
  blinking.TelNum(u"7788");
  EXPECT_EQ(blinking.Dial(), -1);
  EXPECT_EQ(machine.transcript.take(), dialled);
  EXPECT_FALSE(blinking.DialupConnection());
}

TEST_F(ModemDialupTest, HangupDropsDataTerminalReadyAndClosesThePort) {
  const std::string box = "; close; box ارتباط: ارتباط قطع شد [OK]";
  for (const bool DTREnable : {true, false}) {
    platform.port->PortOpen(true);
    platform.port->setup.DTREnable = DTREnable;
    mModem.DialupConnection(true);
    transcript();
    EXPECT_TRUE(mModem.Hangup());
    EXPECT_EQ(transcript(),
              "out 41 54 48; dtr on; dtr off; dtr " + std::string(DTREnable ? "on" : "off") + box);
    EXPECT_FALSE(mModem.DialupConnection());
  }
  mModem.DialupConnection(true);
  EXPECT_FALSE(mModem.Hangup());
  EXPECT_EQ(transcript(), "");
  EXPECT_FALSE(mModem.DialupConnection());
}

TEST_F(ModemDialupTest, APortThatDoesNotOpenRaisesItsErrorAndDialupIsOff) {
  platform.transcript.failAt("open", ErrorNumber::portAlreadyOpen);
  mModem.DialupConnection(true);
  EXPECT_THROW(mModem.Dial(), RunTimeError);
  EXPECT_FALSE(mModem.DialupConnection());
}

}  // namespace
}  // namespace cronvel::test
