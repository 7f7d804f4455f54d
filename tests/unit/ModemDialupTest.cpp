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

  void answer(double delay, const std::string& text, std::size_t dials = 1) {
    platform.terminal.replyAfter(dials * dialledBytes, delay, Bytes(text.begin(), text.end()));
  }
  void carrierAfter(double seconds) {
    const double when = platform.time.elapsed() + seconds;
    platform.port->carrier = [this, when] { return platform.time.elapsed() >= when; };
  }
  double elapsed() const { return platform.time.elapsed() - mStart; }

 private:
  double mStart = platform.time.elapsed();
};

TEST_F(ModemDialupTest, ACarrierMakesTheConnection) {
  control->BPS(u"9600");  // means nothing here
  answer(1, "ATDP7788\r\n\r\nCONNECT 9600\r\n");
  carrierAfter(119.999);
  EXPECT_EQ(control->Dial(), 0);
  EXPECT_EQ(transcript().take(), dialled + connectedBox);
  EXPECT_TRUE(control->DialupConnection());
  EXPECT_TRUE(platform.port->PortOpen());
}

TEST_F(ModemDialupTest, WhatIsNoNumberIsNotDialled) {
  for (const char16_t* TelNum : {u"0", u"", u"+98 21", u" 7788", u"#1", u"/"}) {
    control->TelNum(TelNum);
    control->DialupConnection(true);
    EXPECT_EQ(control->Dial(), 4);
    EXPECT_EQ(transcript().take(), invalidBox);
    EXPECT_FALSE(control->DialupConnection());
  }
  platform.port->PortOpen(true);
  EXPECT_EQ(control->Dial(), 4);
  EXPECT_EQ(transcript().take(), "open; close; " + invalidBox);
  carrierAfter(0);
  control->TelNum(u"00W,\u06F5");  // but a leading zero or a letter is; no digits are not sent
  EXPECT_EQ(control->Dial(), 0);
  EXPECT_EQ(transcript().take(),
            "settings 4800,N,8,1; open; out 41 54 44 50 30 30 57 2C 3F 0D 0A" + connectedBox);
}

TEST_F(ModemDialupTest, ABusyLineIsDialledAgainAsOftenAsTheUserWants) {
  for (std::size_t dials = 1; dials <= 3; ++dials) {
    answer(1, "\r\nBUS", dials);
    answer(2, "Y", dials);
  }
  platform.yesAnswers = 2;
  EXPECT_EQ(control->Dial(), 2);
  const std::string attempt = dialled + busyBox + "; close";
  EXPECT_EQ(transcript().take(), attempt + "; " + attempt + "; " + attempt);
  EXPECT_NEAR(elapsed(), 6, 0.1);
  EXPECT_FALSE(control->DialupConnection());
}

TEST_F(ModemDialupTest, EveryAttemptHasItsOwnTwoMinutesAndAnswerAndNoCarrierLeavesThePortOpen) {
  answer(100, "BUSY");
  answer(1, "busy, NO CARRIER", 2);
  platform.yesAnswers = 1;
  EXPECT_EQ(control->Dial(), 3);
  EXPECT_EQ(transcript().take(),
            dialled + busyBox + "; close; " + dialled + "; box خطا: اشكال در ارتباط با مودم؟ [OK]");
  EXPECT_NEAR(elapsed(), 100 + 120, 0.1);
  EXPECT_TRUE(platform.port->PortOpen());
  EXPECT_FALSE(control->DialupConnection());

  carrierAfter(1);  // the next call starts afresh
  EXPECT_EQ(control->Dial(), 0);
  EXPECT_EQ(transcript().take(), "close; " + dialled + connectedBox);
}

TEST_F(ModemDialupTest, ACarrierThatIsGoneAtOnceIsNoConnection) {
  int looks = 0;
  platform.port->carrier = [&looks] { return ++looks == 3; };  // of the wait loop
  EXPECT_EQ(control->Dial(), -1);
  EXPECT_EQ(transcript().take(), dialled);
  EXPECT_FALSE(control->DialupConnection());
}

TEST_F(ModemDialupTest, HangupDropsDataTerminalReadyAndClosesThePort) {
  const std::string box = "; close; box ارتباط: ارتباط قطع شد [OK]";
  for (const bool DTREnable : {true, false}) {
    platform.port->PortOpen(true);
    platform.port->setup.DTREnable = DTREnable;
    control->DialupConnection(true);
    transcript().take();
    EXPECT_TRUE(control->Hangup());
    EXPECT_EQ(transcript().take(),
              "out 41 54 48; dtr on; dtr off; dtr " + std::string(DTREnable ? "on" : "off") + box);
    EXPECT_FALSE(control->DialupConnection());
  }
  control->DialupConnection(true);
  EXPECT_FALSE(control->Hangup());
  EXPECT_EQ(transcript().take(), "");
  EXPECT_FALSE(control->DialupConnection());
}

TEST_F(ModemDialupTest, APortThatDoesNotOpenRaisesItsErrorAndDialupIsOff) {
  platform.transcript.failAt("open", ErrorNumber::portAlreadyOpen);
  control->DialupConnection(true);
  EXPECT_THROW(control->Dial(), RunTimeError);
  EXPECT_FALSE(control->DialupConnection());
}

}  // namespace
}  // namespace cronvel::test
