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

void ModemDialup::DialupConnection(bool New_DialupConnection) {
  mLinks.host.set(mLinks.state.DialupConnection, New_DialupConnection, "DialupConnection");
}

void ModemDialup::TelNum(const std::u16string& New_TelNum) {
  mLinks.host.set(mLinks.state.TelNum, New_TelNum, "TelNum");
}

std::int16_t ModemDialup::Dial() {
  const Ending::Command dialling(mLinks.ending);
  mLinks.state.DialupConnection = false;
  for (;;) {
    if (mLinks.ended()) return noCarrier;
    mLinks.serial.stopTimeOut();
    closePort();
    if (!numberIsValid()) {
      mLinks.note(NoteKind::notSent,
                  "\"" + toUtf8(mLinks.state.TelNum) + "\" is no telephone number: set TelNum");
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

bool ModemDialup::numberIsValid() const { return mLinks.state.TelNum > u"0"; }

void ModemDialup::sendNumber() {
  mLinks.note(NoteKind::progress, "dialling " + toUtf8(mLinks.state.TelNum));
  port().Settings("4800,N,8,1");
  port().PortOpen(true);
  port().Output(dialString(mLinks.state.TelNum));
}

/// Waits for the end of the attempt. The modem's word can come in pieces, so they are joined.
bool ModemDialup::lineIsBusy() {
  std::string answer;
  bool busy = false;
  mLinks.serial.startTimeOut(minutesToConnect);
  mLinks.waitUntil([&] {
    if (port().CDHolding() || busy || mLinks.serial.timedOut()) return true;
    if (port().InBufferCount() >= 1) {
      const Bytes bytes = port().Input();
      answer.append(bytes.begin(), bytes.end());
      busy = answer.find("BUSY") != std::string::npos;
    }
    return false;
  });
  return busy;
}

bool ModemDialup::retryWanted() {
  mLinks.note(NoteKind::busy, "the line is busy");
  return !mLinks.ended() &&
         mLinks.platform.msgBox().show(u"خط مشغول است.آيا دوباره سعي شود؟", MsgBox::Buttons::yesNo,
                                       u"اشغال خط") == MsgBox::Answer::yes;
}

std::int16_t ModemDialup::callResult() {
  if (mLinks.ended()) {
    mLinks.serial.stopTimeOut();
    closePort();  // what still rings must not be answered to nobody
    mLinks.note(NoteKind::ended, "dialling was ended");
    return noCarrier;
  }
  if (mLinks.serial.timedOut()) {
    mLinks.serial.stopTimeOut();
    mLinks.note(NoteKind::noCarrier,
                "no carrier within 120 s: check the number, the modem and its cable");
    show(u"اشكال در ارتباط با مودم؟", u"خطا");
    return noCarrier;
  }
  if (!port().CDHolding()) {
    mLinks.note(NoteKind::noCarrier, "the carrier was gone as soon as it came");
    return undecided;
  }
  mLinks.state.DialupConnection = true;
  mLinks.note(NoteKind::progress, "connected: the modem has a carrier");
  show(u"ارتباط برقرار شد.", callTitle);
  return connected;
}

bool ModemDialup::Hangup() {
  const Ending::Command underWay(mLinks.ending);
  mLinks.state.DialupConnection = false;
  if (!port().PortOpen()) return false;
  // Just the three characters: it is the fall of data terminal ready that ends a call.
  port().Output(toBytes("ATH"));
  const bool DTREnable = port().DTREnable();
  port().DTREnable(true);
  port().DTREnable(false);
  port().DTREnable(DTREnable);
  closePort();
  mLinks.note(NoteKind::progress, "hung up");
  show(u"ارتباط قطع شد", callTitle);
  return true;
}

void ModemDialup::closePort() {
  if (port().PortOpen()) port().PortOpen(false);
}

void ModemDialup::show(const std::u16string& prompt, const std::u16string& title) {
  if (!mLinks.ended()) mLinks.platform.msgBox().show(prompt, MsgBox::Buttons::ok, title);
}

}  // namespace cronvel
