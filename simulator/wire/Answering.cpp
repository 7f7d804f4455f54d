#include "simulator/wire/Answering.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "simulator/base/Text.h"

namespace cronvel::simulator {

namespace {

using Kind = Outcome::Kind;

constexpr double bitsPerByte = 11;  // start, eight, parity, stop
constexpr double blockMs = 20;
constexpr double atOnce = std::numeric_limits<double>::infinity();

}  // namespace

void Answering::record(std::string_view name, Json fields, const std::string& text) {
  mJournal.record(name, mTerminal->number(), std::move(fields),
                  text.empty() ? text : mOutcome.text + text);
}

void Answering::start(const Terminal& terminal, Outcome outcome) {
  mTerminal = &terminal;
  mOutcome = std::move(outcome);
  if (mOutcome.kind == Kind::ignored)
    return record("ignored", {{"reason", mOutcome.problem}}, " -> ignored: " + mOutcome.problem);
  if (mOutcome.kind == Kind::quiet) {
    mJournal.record("quiet", terminal.number(), Json::object(), mOutcome.text);
    return showState();
  }
  if (mOutcome.answer.silent) {
    record("silent", Json::object(), " -> silent");
    return showState();
  }
  mBusy = true;
  mTask = mScheduler.after(mOutcome.answer.delay, [this] { answer(); });
}

void Answering::showState() {
  if (mOutcome.kind != Kind::accepted && mOutcome.kind != Kind::quiet) return;
  mJournal.record("state", mTerminal->number(), mTerminal->stateFields(), mTerminal->stateText());
}

void Answering::answer() {
  if (mOutcome.answer.hangUp && !mWire.settings()) return hangUp();
  mOutcome.answer.stream ? startStream() : reply();
}

void Answering::hangUp() {
  mBusy = false;
  record("dropped", Json::object(), " -> drops the connection");
  showState();
  mWire.hangUp();
}

void Answering::reply() {
  Bytes bytes = mOutcome.answer.noise;
  const Bytes& content = mOutcome.answer.content.bytes;
  bytes.insert(bytes.end(), content.begin(), content.end());
  std::string text = " -> reply " + std::to_string(content.front());
  if (mOutcome.kind == Kind::refused) text += " (refused: " + mOutcome.problem + ")";
  record("reply", {{"value", content.front()}, {"bytes", bytes}}, text);
  showState();
  deliver(atOnce);
}

std::string Answering::lineProblem() const {
  const auto settings = mWire.settings();
  if (!settings) return {};
  if (mOutcome.speed == 0) return "the speed code names no speed";
  const LineSettings expected{mOutcome.speed, LineSettings::Parity::space};
  if (*settings == expected) return {};
  return "line is " + settingsText(*settings) + ", expected " + settingsText(expected);
}

void Answering::startStream() {
  if (const std::string problem = lineProblem(); !problem.empty()) return refuseStream(problem);
  const bool serial = mWire.settings().has_value();
  const int speed = serial ? mOutcome.speed : static_cast<int>(mNetworkSpeed);
  const RecordStream& content = mOutcome.answer.content;
  mStreaming = true;
  mStreamStarted = mScheduler.now();
  record("stream-start",
         {{"records", content.cardRecords}, {"bytes", content.bytes.size()}, {"speed", speed}},
         " -> stream " + plural(content.cardRecords, "record") + ", " +
             plural(content.bytes.size(), "byte") + " at " + std::to_string(speed) +
             (serial ? " baud" : " bytes/s") + " ...");
  deliver((serial ? mOutcome.speed / bitsPerByte : mNetworkSpeed) / 1000);
}

void Answering::refuseStream(const std::string& why) {
  mBusy = false;
  record("stream-end", {{"bytes", 0}, {"complete", false}, {"reason", why}},
         " -> " + why + ": streams nothing");
}

void Answering::deliver(double bytesPerMs) {
  Answer& answer = mOutcome.answer;
  mBytes = std::move(answer.noise);
  mBytes.insert(mBytes.end(), answer.content.bytes.begin(), answer.content.bytes.end());
  std::erase_if(answer.pauses, [&](std::size_t offset) { return offset >= mBytes.size(); });
  std::sort(answer.pauses.begin(), answer.pauses.end());
  mSent = 0;
  mBytesPerMs = bytesPerMs;
  mPacedFrom = 0;
  mPacedSince = mScheduler.now();
  sendDue();
}

/// How many bytes may have gone out by now, up to the next pause.
std::size_t Answering::dueBefore(std::size_t limit) const {
  if (mBytesPerMs == atOnce) return limit;
  const double paced = (mScheduler.now() - mPacedSince) * mBytesPerMs;
  return paced >= static_cast<double>(limit - mPacedFrom)
             ? limit
             : mPacedFrom + static_cast<std::size_t>(paced);
}

void Answering::sendDue() {
  if (const std::string problem = mStreaming ? lineProblem() : ""; !problem.empty())
    return breakOff(problem);
  const auto& pauses = mOutcome.answer.pauses;
  const std::size_t limit = pauses.empty() ? mBytes.size() : pauses.front();
  const std::size_t due = dueBefore(limit);
  const auto part = std::span(mBytes).subspan(mSent, due - mSent);
  mSent = due;
  if (!part.empty()) mWire.send(part);
  // Sending may have ended everything: a network peer that is gone shows only then.
  if (!mBusy) return;
  if (mSent == mBytes.size()) return sent();
  if (mSent == limit) return pauseDelivery();
  mTask = mScheduler.after(blockMs, [this] { sendDue(); });
}

void Answering::pauseDelivery() {
  Answer& answer = mOutcome.answer;
  answer.pauses.erase(answer.pauses.begin());
  mPacedFrom = mSent;
  mPacedSince = mScheduler.now() + answer.pause;
  mJournal.record("pause", mTerminal->number(), {{"at", mSent}, {"ms", answer.pause}},
                  "pauses " + secondsText(answer.pause) + " after " + plural(mSent, "byte"));
  mTask = mScheduler.after(answer.pause, [this] { sendDue(); });
}

void Answering::sent() {
  mBusy = false;
  if (mStreaming) return streamEnded(true, {});
  mJournal.record("answered", mTerminal->number());
}

void Answering::streamEnded(bool complete, const std::string& why) {
  mStreaming = false;
  const double took = mScheduler.now() - mStreamStarted;
  Json fields{{"bytes", mSent}, {"seconds", std::round(took) / 1000}, {"complete", complete}};
  if (!complete) fields["reason"] = why;
  mJournal.record("stream-end", mTerminal->number(), std::move(fields),
                  "stream " + (complete ? "done" : "broken off (" + why + ")") + ": " +
                      plural(mSent, "byte") + " in " + secondsText(took));
}

void Answering::breakOff(const std::string& why) {
  mTask.cancel();
  if (!mBusy) return;
  mBusy = false;
  if (mStreaming) return streamEnded(false, why);
  record("ignored", {{"reason", why}}, " -> not answered: " + why);
}

}  // namespace cronvel::simulator
