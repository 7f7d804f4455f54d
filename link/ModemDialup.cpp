#include "link/ModemDialup.h"

#include <string_view>

#include "runtime/Text.h"

namespace cronvel {
namespace {

constexpr std::int16_t connected = 0;
constexpr std::int16_t declined = 2;
constexpr std::int16_t noCarrier = 3;
constexpr std::int16_t invalidNumber = 4;
constexpr std::int16_t undecided = -1;

constexpr std::int16_t minutesToConnect = 2;

constexpr char16_t callTitle[] = u"ارتباط";

Bytes toBytes(std::string_view text) { return {text.begin(), text.end()}; }

/// A dialling string is plain ASCII; what is not can only be a slip of the user's.
Bytes dialString(const std::u16string& TelNum) {
  Bytes bytes = toBytes("ATDP");
  for (const char16_t c : TelNum) bytes.push_back(c < 0x80 ? static_cast<std::uint8_t>(c) : '?');
  bytes.push_back('\r');
  bytes.push_back('\n');
  return bytes;
}

}  // namespace

std::int16_t ModemDialup::Dial() {
  mState.DialupConnection = false;
  for (;;) {
    mSerial.stopTimeOut();
    closePort();
    if (!numberIsValid()) {
      mPlatform.note("\"" + toUtf8(mState.TelNum) + "\" is no telephone number: set TelNum");
      show(u"شماره تلفن داده شده معتبر نمي باشد.", u"ارتباط مودم");
      return invalidNumber;
    }
    sendNumber();
    if (!lineIsBusy()) return callResult();
    if (!retryWanted()) break;
  }
  closePort();
  return declined;
}

bool ModemDialup::numberIsValid() const { return mState.TelNum > u"0"; }

void ModemDialup::sendNumber() {
  mPlatform.note("dialling " + toUtf8(mState.TelNum));
  port().Settings("4800,N,8,1");
  port().PortOpen(true);
  port().Output(dialString(mState.TelNum));
}

/// Waits for the end of the attempt. The modem's word can come in pieces, so they are joined.
bool ModemDialup::lineIsBusy() {
  std::string answer;
  bool busy = false;
  mSerial.startTimeOut(minutesToConnect);
  while (!port().CDHolding() && !busy && !mSerial.timedOut()) {
    if (port().InBufferCount() >= 1) {
      const Bytes bytes = port().Input();
      answer.append(bytes.begin(), bytes.end());
      busy = answer.find("BUSY") != std::string::npos;
    }
    mPlatform.messagePump().waitEvents();
  }
  return busy;
}

bool ModemDialup::retryWanted() {
  mPlatform.note("the line is busy");
  return mPlatform.msgBox().show(u"خط مشغول است.آيا دوباره سعي شود؟", MsgBox::Buttons::yesNo,
                                 u"اشغال خط") == MsgBox::Answer::yes;
}

std::int16_t ModemDialup::callResult() {
  if (mSerial.timedOut()) {
    mSerial.stopTimeOut();
    mPlatform.note("no carrier within 120 s: check the number, the modem and its cable");
    show(u"اشكال در ارتباط با مودم؟", u"خطا");
    return noCarrier;
  }
  if (!port().CDHolding()) {
    mPlatform.note("the carrier was gone as soon as it came");
    return undecided;
  }
  mState.DialupConnection = true;
  mPlatform.note("connected: the modem has a carrier");
  show(u"ارتباط برقرار شد.", callTitle);
  return connected;
}

bool ModemDialup::Hangup() {
  mState.DialupConnection = false;
  if (!port().PortOpen()) return false;
  // Just the three characters: it is the fall of data terminal ready that ends a call.
  port().Output(toBytes("ATH"));
  const bool DTREnable = port().DTREnable();
  port().DTREnable(true);
  port().DTREnable(false);
  port().DTREnable(DTREnable);
  closePort();
  mPlatform.note("hung up");
  show(u"ارتباط قطع شد", callTitle);
  return true;
}

void ModemDialup::closePort() {
  if (port().PortOpen()) port().PortOpen(false);
}

void ModemDialup::show(const std::u16string& prompt, const std::u16string& title) {
  mPlatform.msgBox().show(prompt, MsgBox::Buttons::ok, title);
}

}  // namespace cronvel
