#include "simulator/wire/Exchange.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace cronvel::simulator {

namespace {

constexpr std::int32_t commandSpeed = 600;
constexpr std::uint8_t commandStart = 0x02;
constexpr std::uint8_t goodReply = 24;
constexpr std::uint8_t refusal = 21;
constexpr double bitsPerByte = 11;  // start, eight, parity, stop
constexpr double blockMs = 20;
/// A command of no fixed length is complete when no byte has come for so long.
constexpr double gapMs = 400;
constexpr double busyMs = 50;
constexpr double atOnce = std::numeric_limits<double>::infinity();

std::string settingsText(const LineSettings& settings) {
  if (settings.speed == 0) return "closed (nobody has it open)";
  return std::to_string(settings.speed) + " baud with parity " + parityText(settings.parity);
}

std::string secondsText(double milliseconds) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.1f s", milliseconds / 1000);
  return text.data();
}

std::string plural(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string joined(const std::set<LineSettings::Parity>& parities) {
  std::string text;
  for (const auto parity : parities) text += (text.empty() ? "" : "+") + parityText(parity);
  return text;
}

}  // namespace

std::string parityText(LineSettings::Parity parity) {
  switch (parity) {
    case LineSettings::Parity::odd:
      return "odd";
    case LineSettings::Parity::even:
      return "even";
    case LineSettings::Parity::mark:
      return "mark";
    case LineSettings::Parity::space:
      return "space";
    case LineSettings::Parity::none:
      break;
  }
  return "none";
}

Exchange::Exchange(Wire& wire, std::vector<Terminal*> terminals, Scheduler& scheduler,
                   Journal& journal, double networkSpeed)
    : mWire(wire),
      mTerminals(std::move(terminals)),
      mScheduler(scheduler),
      mJournal(journal),
      mNetworkSpeed(networkSpeed) {}

void Exchange::receive(std::uint8_t byte, const LineSettings& settings) {
  using Parity = LineSettings::Parity;
  mJournal.record(
      "byte", std::nullopt,
      {{"value", byte}, {"parity", parityText(settings.parity)}, {"speed", settings.speed}});
  // With odd or even parity the ninth bit is a different one from byte to byte.
  const bool ninthBitMeansNothing =
      settings.parity == Parity::odd || settings.parity == Parity::even;
  const bool expectedSpeed =
      settings.speed == commandSpeed || (mPhase == Phase::body && settings.speed == mBodySpeed);
  if (!expectedSpeed || ninthBitMeansNothing) {
    const std::string why = hex(byte) + " came at " + settingsText(settings) + ": not understood";
    mJournal.record("ignored", std::nullopt, {{"value", byte}, {"reason", why}},
                    mSpeedReported ? "" : why);
    mSpeedReported = true;
    return;
  }
  mSpeedReported = false;
  if (settings.parity == Parity::mark && settings.speed == commandSpeed) return address(byte);
  if (mPhase != Phase::body) {
    mJournal.record("ignored", std::nullopt, {{"value", byte}, {"reason", "nobody is addressed"}});
    return;
  }
  mBodyParities.insert(settings.parity);
  body(byte);
}

void Exchange::receive(std::uint8_t byte) {
  mJournal.record("byte", std::nullopt, {{"value", byte}});
  if (mPhase == Phase::idle) return address(byte);
  if (mPhase == Phase::body) body(byte);
}

void Exchange::address(std::uint8_t byte) {
  if (mEndsInGap && mPhase == Phase::body) complete();
  breakOff("another address came");
  const auto found = std::find_if(mTerminals.begin(), mTerminals.end(),
                                  [&](const Terminal* one) { return one->address() == byte; });
  mTerminal = found == mTerminals.end() ? nullptr : *found;
  mBody.clear();
  mBodyParities.clear();
  mBodySpeed = commandSpeed;
  mEndsInGap = false;
  mGap.cancel();
  const bool serial = mWire.settings().has_value();
  mPhase = mTerminal || !serial ? Phase::body : Phase::idle;
  Json fields{{"value", byte}};
  if (serial) fields["parity"] = "mark";
  if (mTerminal) return mJournal.record("address", mTerminal->number(), std::move(fields));
  mJournal.record("address", std::nullopt, std::move(fields),
                  "address " + hex(byte) + (serial ? " (mark)" : "") + ": nobody here");
}

void Exchange::body(std::uint8_t byte) {
  mBody.push_back(byte);
  if (mBody[0] != commandStart) {
    return misunderstood("the command starts with " + hex(mBody[0]) + ", not with 02");
  }
  if (mBody.size() < 2) return;
  const auto shape = Terminal::shape(mBody[1]);
  if (!shape) return misunderstood("unknown command code " + std::to_string(mBody[1]));
  mBodySpeed = shape->payloadSpeed;
  const Payload payload = std::span(mBody).subspan(2);
  const bool ended = shape->ended != nullptr && shape->ended(payload);
  if (payload.size() == shape->payload || ended) return complete();
  mEndsInGap = shape->endsInGap;
  if (mEndsInGap) mGap = mScheduler.after(gapMs, [this] { complete(); });
}

void Exchange::misunderstood(const std::string& why) {
  mPhase = Phase::lost;
  const auto number = mTerminal ? std::optional(mTerminal->number()) : std::nullopt;
  mJournal.record("ignored", number, {{"body", mBody}, {"reason", why}},
                  mTerminal ? why + ": ignored until the next address" : "");
}

void Exchange::complete() {
  mPhase = Phase::idle;
  mGap.cancel();
  if (!mTerminal) return;
  mOutcome = mTerminal->execute(mBody[1], std::span(mBody).subspan(2));
  Json fields{{"code", mBody[1]}, {"text", mOutcome.text}, {"body", mBody}};
  if (!mBodyParities.empty()) {
    fields["address_parity"] = "mark";
    fields["body_parity"] = joined(mBodyParities);
    mOutcome.text += " (address with mark, " + plural(mBody.size(), "byte") + " with " +
                     joined(mBodyParities) + ")";
  }
  mJournal.record("command", mTerminal->number(), std::move(fields));
  watchMonitoring();
  scheduleAnswer();
}

/// Starts or ends the addressed terminal's live events on this wire.
void Exchange::watchMonitoring() {
  Terminal* const terminal = mTerminal;
  if (!terminal->monitored()) {
    mEvents.erase(terminal);
  } else if (!mEvents.contains(terminal) && terminal->eventInterval() > 0) {
    mEvents[terminal] =
        mScheduler.after(terminal->eventInterval(), [this, terminal] { sendEvent(*terminal); });
  }
}

/// Live events keep out of a conversation that is under way on the same wire.
void Exchange::sendEvent(Terminal& terminal) {
  const bool busy = mPhase == Phase::body || mAnswering;
  if (!busy) {
    const Bytes event = terminal.nextEvent();
    mJournal.record("monitoring", terminal.number(),
                    {{"number", terminal.eventsSent()}, {"bytes", event}},
                    "event " + std::to_string(terminal.eventsSent()) + ":" + hexText(event));
    mWire.send(event);
  }
  // Sending may have ended everything: a network peer that is gone shows only then.
  const auto found = mEvents.find(&terminal);
  if (found == mEvents.end()) return;
  Terminal* const again = &terminal;
  found->second = mScheduler.after(busy ? busyMs : terminal.eventInterval(),
                                   [this, again] { sendEvent(*again); });
}

void Exchange::scheduleAnswer() {
  const int number = mTerminal->number();
  if (mOutcome.kind == Outcome::Kind::ignored) {
    mJournal.record("ignored", number, {{"reason", mOutcome.problem}},
                    mOutcome.text + " -> ignored: " + mOutcome.problem);
    return;
  }
  if (mOutcome.kind == Outcome::Kind::quiet) {
    mJournal.record("quiet", number, Json::object(), mOutcome.text);
    return showState();
  }
  if (faults().silent) {
    mJournal.record("silent", number, Json::object(), mOutcome.text + " -> silent");
    return showState();
  }
  mAnswering = true;
  mTask = mScheduler.after(std::max(faults().delay, mOutcome.minimumDelay), [this] { answer(); });
}

void Exchange::answer() {
  if (faults().drop && !mWire.settings()) {
    mAnswering = false;
    mJournal.record("dropped", mTerminal->number(), Json::object(),
                    mOutcome.text + " -> drops the connection");
    showState();
    return mWire.hangUp();
  }
  mOutcome.kind == Outcome::Kind::stream ? startStream() : reply();
}

void Exchange::reply() {
  const bool good = mOutcome.kind != Outcome::Kind::refused;
  Bytes bytes = faults().noise;
  Bytes answer = faults().reply.empty() ? mOutcome.answer : faults().reply;
  if (answer.empty()) answer.push_back(good ? goodReply : refusal);
  bytes.insert(bytes.end(), answer.begin(), answer.end());
  std::string text = mOutcome.text + " -> reply " + std::to_string(answer.front());
  if (!good) text += " (refused: " + mOutcome.problem + ")";
  mJournal.record("reply", mTerminal->number(), {{"value", answer.front()}, {"bytes", bytes}},
                  text);
  showState();
  deliver(std::move(bytes), atOnce, {});
}

void Exchange::showState() {
  const bool done =
      mOutcome.kind == Outcome::Kind::accepted || mOutcome.kind == Outcome::Kind::quiet;
  if (!done) return;
  mJournal.record("state", mTerminal->number(), mTerminal->stateFields(), mTerminal->stateText());
}

std::string Exchange::lineProblem() const {
  const auto settings = mWire.settings();
  if (!settings) return {};
  if (mOutcome.speed == 0) return "the speed code names no speed";
  const LineSettings expected{mOutcome.speed, LineSettings::Parity::space};
  if (*settings == expected) return {};
  return "line is " + settingsText(*settings) + ", expected " + settingsText(expected);
}

void Exchange::startStream() {
  if (const std::string problem = lineProblem(); !problem.empty()) return refuseStream(problem);
  const bool serial = mWire.settings().has_value();
  const Bytes records = spoil(mOutcome.stream, faults());
  const double bytesPerSecond = serial ? mOutcome.speed / bitsPerByte : mNetworkSpeed;
  mStreaming = true;
  mStreamStarted = mScheduler.now();
  mJournal.record("stream-start", mTerminal->number(),
                  {{"records", mOutcome.stream.cardRecords},
                   {"bytes", records.size()},
                   {"speed", serial ? mOutcome.speed : static_cast<int>(mNetworkSpeed)}},
                  mOutcome.text + " -> stream " + plural(mOutcome.stream.cardRecords, "record") +
                      ", " + plural(records.size(), "byte") + " at " +
                      (serial ? std::to_string(mOutcome.speed) + " baud"
                              : std::to_string(static_cast<int>(mNetworkSpeed)) + " bytes/s") +
                      " ...");
  Bytes bytes = faults().noise;
  std::vector<std::size_t> pauses;
  if (faults().pauseAt) pauses.push_back(bytes.size() + *faults().pauseAt);
  bytes.insert(bytes.end(), records.begin(), records.end());
  deliver(std::move(bytes), bytesPerSecond / 1000, std::move(pauses));
}

void Exchange::refuseStream(const std::string& why) {
  mAnswering = false;
  mJournal.record("stream-end", mTerminal->number(),
                  {{"bytes", 0}, {"complete", false}, {"reason", why}},
                  mOutcome.text + " -> " + why + ": streams nothing");
}

void Exchange::deliver(Bytes bytes, double bytesPerMs, std::vector<std::size_t> pauses) {
  mBytes = std::move(bytes);
  mSent = 0;
  mBytesPerMs = bytesPerMs;
  mPauses = std::move(pauses);
  if (faults().pieces) mPauses.push_back(1);
  std::erase_if(mPauses, [&](std::size_t offset) { return offset >= mBytes.size(); });
  std::sort(mPauses.begin(), mPauses.end());
  mPacedFrom = 0;
  mPacedSince = mScheduler.now();
  sendDue();
}

void Exchange::sendDue() {
  if (const std::string problem = mStreaming ? lineProblem() : ""; !problem.empty()) {
    return breakOff(problem);
  }
  const std::size_t limit = mPauses.empty() ? mBytes.size() : mPauses.front();
  const double paced = (mScheduler.now() - mPacedSince) * mBytesPerMs;
  const std::size_t room = limit - mPacedFrom;
  const std::size_t due = mBytesPerMs == atOnce || paced >= static_cast<double>(room)
                              ? limit
                              : mPacedFrom + static_cast<std::size_t>(paced);
  const auto part = std::span(mBytes).subspan(mSent, due - mSent);
  mSent = due;
  if (!part.empty()) mWire.send(part);
  // Sending may have ended everything: a network peer that is gone shows only then.
  if (!mAnswering) return;
  if (mSent == mBytes.size()) return sent();
  if (mSent == limit) return pauseDelivery();
  mTask = mScheduler.after(blockMs, [this] { sendDue(); });
}

void Exchange::pauseDelivery() {
  mPauses.erase(mPauses.begin());
  mPacedFrom = mSent;
  mPacedSince = mScheduler.now() + faults().pause;
  mJournal.record("pause", mTerminal->number(), {{"at", mSent}, {"ms", faults().pause}},
                  "pauses " + secondsText(faults().pause) + " after " + plural(mSent, "byte"));
  mTask = mScheduler.after(faults().pause, [this] { sendDue(); });
}

void Exchange::sent() {
  mAnswering = false;
  if (mStreaming) return streamEnded(true, {});
  mJournal.record("answered", mTerminal->number());
}

void Exchange::streamEnded(bool complete, const std::string& why) {
  mStreaming = false;
  const double took = mScheduler.now() - mStreamStarted;
  Json fields{{"bytes", mSent}, {"seconds", std::round(took) / 1000}, {"complete", complete}};
  if (!complete) fields["reason"] = why;
  mJournal.record("stream-end", mTerminal->number(), std::move(fields),
                  "stream " + (complete ? "done" : "broken off (" + why + ")") + ": " +
                      plural(mSent, "byte") + " in " + secondsText(took));
}

void Exchange::breakOff(const std::string& why) {
  mTask.cancel();
  mGap.cancel();
  if (!mAnswering) return;
  mAnswering = false;
  if (mStreaming) return streamEnded(false, why);
  mJournal.record("ignored", mTerminal->number(), {{"reason", why}},
                  mOutcome.text + " -> not answered: " + why);
}

}  // namespace cronvel::simulator
