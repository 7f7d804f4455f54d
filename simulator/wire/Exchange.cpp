#include "simulator/wire/Exchange.h"

#include <algorithm>
#include <utility>

#include "simulator/base/Text.h"

namespace cronvel::simulator {

namespace {

using Parity = LineSettings::Parity;

constexpr std::int32_t commandSpeed = 600;
constexpr std::uint8_t commandStart = 0x02;
/// A command of no fixed length is complete when no byte has come for so long.
constexpr double gapMs = 400;
constexpr double busyMs = 50;

std::string joined(const std::set<Parity>& parities) {
  std::string text;
  for (const auto parity : parities) text += (text.empty() ? "" : "+") + parityText(parity);
  return text;
}

}  // namespace

Exchange::Exchange(Wire& wire, std::vector<Terminal*> terminals, Scheduler& scheduler,
                   Journal& journal, double networkSpeed)
    : mWire(wire),
      mTerminals(std::move(terminals)),
      mScheduler(scheduler),
      mJournal(journal),
      mAnswering(wire, scheduler, journal, networkSpeed) {}

void Exchange::receive(std::uint8_t byte, const LineSettings& settings) {
  mJournal.record(
      "byte", std::nullopt,
      {{"value", byte}, {"parity", parityText(settings.parity)}, {"speed", settings.speed}});
  if (!canBeRead(settings)) return unreadable(byte, settings);
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

bool Exchange::canBeRead(const LineSettings& settings) const {
  // With odd or even parity the ninth bit is a different one from byte to byte.
  if (settings.parity == Parity::odd || settings.parity == Parity::even) return false;
  const bool payload = mPhase == Phase::body && mCommand != nullptr;
  return settings.speed == commandSpeed || (payload && settings.speed == mCommand->payloadSpeed);
}

void Exchange::unreadable(std::uint8_t byte, const LineSettings& settings) {
  const std::string why = hex(byte) + " came at " + settingsText(settings) + ": not understood";
  mJournal.record("ignored", std::nullopt, {{"value", byte}, {"reason", why}},
                  mSpeedReported ? "" : why);
  mSpeedReported = true;
}

void Exchange::address(std::uint8_t byte) {
  const bool endsInGap = mPhase == Phase::body && mCommand != nullptr && mCommand->endsInGap;
  if (endsInGap) complete();
  breakOff("another address came");
  select(byte);
  const bool serial = mWire.settings().has_value();
  mPhase = mTerminal || !serial ? Phase::body : Phase::idle;
  Json fields{{"value", byte}};
  if (serial) fields["parity"] = "mark";
  if (mTerminal) return mJournal.record("address", mTerminal->number(), std::move(fields));
  mJournal.record("address", std::nullopt, std::move(fields),
                  "address " + hex(byte) + (serial ? " (mark)" : "") + ": nobody here");
}

void Exchange::select(std::uint8_t address) {
  const auto found = std::ranges::find(mTerminals, address, &Terminal::address);
  mTerminal = found == mTerminals.end() ? nullptr : *found;
  mCommand = nullptr;
  mBody.clear();
  mBodyParities.clear();
}

void Exchange::body(std::uint8_t byte) {
  mBody.push_back(byte);
  if (mBody[0] != commandStart)
    return misunderstood("the command starts with " + hex(mBody[0]) + ", not with 02");
  if (mBody.size() < 2) return;
  mCommand = findCommand(mBody[1]);
  if (!mCommand) return misunderstood("unknown command code " + std::to_string(mBody[1]));
  const Payload payload = std::span(mBody).subspan(2);
  const bool ended = mCommand->ended != nullptr && mCommand->ended(payload);
  if (payload.size() == mCommand->payload || ended) return complete();
  if (mCommand->endsInGap) mGap = mScheduler.after(gapMs, [this] { complete(); });
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
  Outcome outcome = mTerminal->execute(*mCommand, std::span(mBody).subspan(2));
  Json fields{{"code", mBody[1]}, {"text", outcome.text}, {"body", mBody}};
  if (!mBodyParities.empty()) {
    const std::string parities = joined(mBodyParities);
    fields["address_parity"] = "mark";
    fields["body_parity"] = parities;
    outcome.text +=
        " (address with mark, " + plural(mBody.size(), "byte") + " with " + parities + ")";
  }
  mJournal.record("command", mTerminal->number(), std::move(fields));
  watchMonitoring();
  mAnswering.start(*mTerminal, std::move(outcome));
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
  const bool busy = mPhase == Phase::body || mAnswering.busy();
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

void Exchange::breakOff(const std::string& why) {
  mGap.cancel();
  mAnswering.breakOff(why);
}

}  // namespace cronvel::simulator
