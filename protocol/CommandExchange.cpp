#include "protocol/CommandExchange.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "protocol/ConvertModule.h"
#include "runtime/Conversion.h"
#include "runtime/PackedBcd.h"

namespace cronvel {
namespace {

constexpr int bodyStart = 2;

constexpr char16_t noCarrierText[] = u"ارتباط برقرار نيست. ابتدا شماره گيري كنيد.";
constexpr char endedText[] = "the command was ended";

constexpr char16_t modemTitle[] = u"ارتباط مودم";

std::string decimalAndHex(std::uint8_t byte) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%u (%02X hex)", static_cast<unsigned>(byte),
                static_cast<unsigned>(byte));
  return text.data();
}

}  // namespace

bool Outcome::accepted() const {
  return kind == Kind::replied && !reply.empty() && reply.front() == successReply;
}

CommandExchange::CommandExchange(DeviceLinks& links, const std::u16string& sRemoteHost,
                                 const CommandForm& form)
    : CommandExchange(links, DeviceLine::choose(links, sRemoteHost), form) {}

CommandExchange::CommandExchange(DeviceLinks& links, std::unique_ptr<DeviceLine> line,
                                 const CommandForm& form)
    : mLinks(links), mUnderWay(links.ending), mForm(form), mLine(std::move(line)) {}

Outcome CommandExchange::run(const Payload& payload) {
  if (!carrierPresent()) return {Outcome::Kind::noCarrier, {}};
  if (!connect()) return {Outcome::Kind::notConnected, {}};
  holdMonitoring();
  return converse(payload);
}

Outcome CommandExchange::converse(const Payload& payload) {
  if (!prepareLink()) return {Outcome::Kind::notConnected, {}};
  sendRequest();
  payload(*this);
  endBody();
  std::optional<Bytes> reply = awaitReply();
  release(reply.has_value());
  if (!reply) return {Outcome::Kind::noReply, {}};
  return {Outcome::Kind::replied, std::move(*reply)};
}

bool CommandExchange::carrierPresent() {
  const bool carrier = mLinks.serial.port().CDHolding();
  if (!mLinks.state.DialupConnection || carrier) return true;
  if (mLinks.ended()) return false;
  mLinks.note(NoteKind::noCarrier,
              "no modem carrier: dial first, or set DialupConnection to False");
  mLinks.platform.msgBox().show(noCarrierText, MsgBox::Buttons::ok, modemTitle);
  return false;
}

bool CommandExchange::connect() { return !mLinks.ended() && mLine->connect(mForm.network); }

void CommandExchange::holdMonitoring() {
  if (monitoringEnd() == MonitoringEnd::off || monitoringEnd() == MonitoringEnd::untouched) return;
  mSavedMonitoring = mLinks.state.MonitoringON;
  mLinks.state.MonitoringON = false;
}

bool CommandExchange::prepareLink() {
  if (mLinks.ended() || !mLine->prepare(mForm.network)) {
    if (mLinks.ended())
      mLinks.note(NoteKind::ended, endedText);
    else
      mLinks.note(NoteKind::notConnected, "no terminal connected in within 10 s");
    release(false);
    return false;
  }
  if (mForm.discardOutput) mLine->discardOutput();
  return true;
}

void CommandExchange::sendRequest() {
  send(packedBcd(mLinks.state.DeviceNum));
  settings(mForm.bodySettings);
  send(bodyStart);
  send(mForm.code);
}

void CommandExchange::settings(std::string_view settings) {
  if (!mLinks.ended()) mLine->settings(settings);
}

void CommandExchange::send(int value, int pause) {
  if (mLinks.ended()) return;
  mLine->send(value, [this] { return !mLinks.ended(); });
  if (pause > 0 && !mLinks.ended()) mLinks.Sleep(pause);
}

void CommandExchange::sendWhole(std::initializer_list<int> values) {
  bool begun = false;
  for (const int value : values) {
    mLine->send(toByte(value), [&] { return begun = begun || !mLinks.ended(); });
    if (begun) mLinks.Sleep(50);
  }
}

void CommandExchange::sendText(std::u16string_view text, std::size_t length) {
  Bytes codes = convertText(text);
  codes.resize(length, ' ');
  for (const std::uint8_t code : codes) send(code);
}

bool CommandExchange::sendSwitch(bool on) {
  if (!prepareLink()) return false;
  sendRequest();
  send(on ? 'T' : 'F', 0);
  return !mLinks.ended();
}

std::optional<Bytes> CommandExchange::awaitReply() {
  mLine->expectReply();
  std::optional<Bytes> reply;
  const double wait = limit();
  mLinks.waitFor(wait, [&] { return (reply = mLine->takeReply()).has_value(); });
  noteReply(reply, wait);
  return reply;
}

void CommandExchange::noteReply(const std::optional<Bytes>& reply, double wait) const {
  const std::string terminal = "terminal " + std::to_string(mLinks.state.DeviceNum);
  if (!reply && mLinks.ended()) {
    mLinks.note(NoteKind::ended, endedText);
  } else if (!reply || reply->empty()) {
    mLinks.note(NoteKind::noAnswer, "no reply within " + std::to_string(std::lround(wait)) +
                                        " s: nothing came from " + terminal);
  } else if (reply->front() == successReply) {
    mLinks.note(NoteKind::accepted, "reply 24 (18 hex): " + terminal + " has done it");
  } else {
    mLinks.note(NoteKind::refused, "reply " + decimalAndHex(reply->front()) +
                                       " instead of 24 (18 hex): " + terminal +
                                       " has refused, or the line is disturbed");
  }
}

void CommandExchange::release(bool replied) {
  endMonitoringHold(replied);
  mLine->close();
}

void CommandExchange::endMonitoringHold(bool replied) {
  const MonitoringEnd end = monitoringEnd();
  if (end == MonitoringEnd::untouched) return;
  const bool staysOff =
      end == MonitoringEnd::off || (end == MonitoringEnd::offAfterReply && replied);
  mLinks.state.MonitoringON = !staysOff && mSavedMonitoring;
}

}  // namespace cronvel
