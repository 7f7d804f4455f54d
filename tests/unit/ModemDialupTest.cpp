#include "link/ModemDialup.h"

#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const std::string dialled = "settings 4800,N,8,1; open; out 41 54 44 50 37 37 38 38 0D 0A";
constexpr std::size_t dialledBytes = 10;
const std::string busyBox = "; box اشغال خط: خط مشغول است.آيا دوباره سعي شود؟ [Yes] [No]";
const std::string connectedBox = "; box ارتباط: ارتباط برقرار شد. [OK]";
const std::string invalidBox = "box ارتباط مودم: شماره تلفن داده شده معتبر نمي باشد. [OK]";

class ModemDialupTest : public testing::Test {
 protected:
  ModemDialupTest() { mState.TelNum = u"7788"; }

  std::string transcript() { return mPlatform.transcript.take(); }
  void answer(double delay, const std::string& text, std::size_t dials = 1) {
    mPlatform.terminal.replyAfter(dials * dialledBytes, delay, Bytes(text.begin(), text.end()));
  }
  void carrierAfter(double seconds, bool on = true) {
    mPlatform.time.after(seconds, [this, on] { mPlatform.port->carrier = on; });
  }
  double elapsed() const { return mPlatform.time.elapsed() - mStart; }

  FakePlatform mPlatform;
  RecordingEvents mEvents;
  LinkState mState;
  SerialLink mSerial{mPlatform, mState, mEvents};
  ModemDialup mModem{mPlatform, mSerial, mState};
  double mStart = mPlatform.time.elapsed();
};

TEST_F(ModemDialupTest, ACarrierMakesTheConnection) {
  mState.BPS = u"9600";  // means nothing here
  answer(1, "ATDP7788\r\n\r\nCONNECT 9600\r\n");
  carrierAfter(119.9);
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(), dialled + connectedBox);
  EXPECT_TRUE(mState.DialupConnection);
  EXPECT_TRUE(mPlatform.port->PortOpen());
}

TEST_F(ModemDialupTest, WhatIsNoNumberIsNotDialled) {
  for (const char16_t* TelNum : {u"0", u"", u"+98 21", u" 7788", u"#1", u"/"}) {
    mState.TelNum = TelNum;
    mState.DialupConnection = true;
    EXPECT_EQ(mModem.Dial(), 4);
    EXPECT_EQ(transcript(), invalidBox);
    EXPECT_FALSE(mState.DialupConnection);
  }
  mPlatform.port->PortOpen(true);
  EXPECT_EQ(mModem.Dial(), 4);
  EXPECT_EQ(transcript(), "open; close; " + invalidBox);
}

TEST_F(ModemDialupTest, ALeadingZeroOrALetterIsDialledAndStrangeCharactersAreReplaced) {
  carrierAfter(0);
  mState.TelNum = u"00W,\u06F5";
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(),
            "settings 4800,N,8,1; open; out 41 54 44 50 30 30 57 2C 3F 0D 0A" + connectedBox);
}

TEST_F(ModemDialupTest, ABusyLineIsDialledAgainAsOftenAsTheUserWants) {
  for (std::size_t dials = 1; dials <= 3; ++dials) {
    answer(1, "\r\nBU", dials);
    answer(2, "SY\r", dials);
  }
  mPlatform.box.answers = {MsgBox::Answer::yes, MsgBox::Answer::yes};
  EXPECT_EQ(mModem.Dial(), 2);
  const std::string attempt = dialled + busyBox + "; close";
  EXPECT_EQ(transcript(), attempt + "; " + attempt + "; " + attempt);
  EXPECT_NEAR(elapsed(), 6, 0.1);
  EXPECT_FALSE(mState.DialupConnection);

  answer(1, "BUSY", 4);
  mPlatform.box.answers = {MsgBox::Answer::yes};
  carrierAfter(5);
  EXPECT_EQ(mModem.Dial(), 0);
  EXPECT_EQ(transcript(), attempt + "; " + dialled + connectedBox);
}

TEST_F(ModemDialupTest, EveryAttemptHasItsOwnTwoMinutesAndAnswerAndNoCarrierLeavesThePortOpen) {
  answer(100, "BUSY");
  answer(1, "busy, NO CARRIER", 2);
  mPlatform.box.answers = {MsgBox::Answer::yes};
  EXPECT_EQ(mModem.Dial(), 3);
  EXPECT_EQ(transcript(),
            dialled + busyBox + "; close; " + dialled + "; box خطا: اشكال در ارتباط با مودم؟ [OK]");
  EXPECT_NEAR(elapsed(), 100 + 120, 0.1);
  EXPECT_TRUE(mPlatform.port->PortOpen());
  EXPECT_FALSE(mState.DialupConnection);

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
  struct : FakePlatform {
    std::unique_ptr<SerialPort> makeSerialPort() override {
      return std::make_unique<Blip>(transcript, time, terminal);
    }
  } platform;
  SerialLink serial(platform, mState, mEvents);
  EXPECT_EQ(ModemDialup(platform, serial, mState).Dial(), -1);
  EXPECT_EQ(platform.transcript.take(), dialled);
  EXPECT_FALSE(mState.DialupConnection);
}

TEST_F(ModemDialupTest, HangupDropsDataTerminalReadyAndClosesThePort) {
  const std::string box = "; close; box ارتباط: ارتباط قطع شد [OK]";
  for (const bool DTREnable : {true, false}) {
    mPlatform.port->PortOpen(true);
    mPlatform.port->setup.DTREnable = DTREnable;
    mState.DialupConnection = true;
    transcript();
    EXPECT_TRUE(mModem.Hangup());
    EXPECT_EQ(transcript(),
              "out 41 54 48; dtr on; dtr off; dtr " + std::string(DTREnable ? "on" : "off") + box);
    EXPECT_FALSE(mState.DialupConnection);
  }
  mState.DialupConnection = true;
  EXPECT_FALSE(mModem.Hangup());
  EXPECT_EQ(transcript(), "");
  EXPECT_FALSE(mState.DialupConnection);
}

TEST_F(ModemDialupTest, APortThatDoesNotOpenRaisesItsErrorAndDialupIsOff) {
  mPlatform.transcript.failAt("open", ErrorNumber::portAlreadyOpen);
  mState.DialupConnection = true;
  EXPECT_THROW(mModem.Dial(), RunTimeError);
  EXPECT_FALSE(mState.DialupConnection);
}

}  // namespace
}  // namespace cronvel::test
