#include "simulator/wire/Modem.h"

#include <algorithm>
#include <utility>

#include "simulator/base/Text.h"

namespace cronvel::simulator {

namespace {

constexpr LineSettings modemSettings{4800, LineSettings::Parity::none};
constexpr double bytesPerSecond = 480;  // start, eight, stop
constexpr double lookEvery = 20;
constexpr double pieceMs = 300;
constexpr std::string_view busyWord = "BUSY";

std::string_view textOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

Modem::Modem(std::unique_ptr<SerialLineEnd> line, std::vector<Terminal*> terminals,
             Scheduler& scheduler, Journal& journal, const ModemOptions& options)
    : mLine(std::move(line)),
      mTerminals(std::move(terminals)),
      mScheduler(scheduler),
      mJournal(journal),
      mOptions(options),
      mLines(options.linesFile) {
  mLine->onReceive([this](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
    received(bytes, settings);
  });
  watchLines();
}

void Modem::watchLines() {
  lookForDtr();
  // A port that is closed lets data terminal ready fall.
  if (mPhase != Phase::command && mLine->settings().speed == 0) endCall("the port was closed");
  mWatch = mScheduler.after(lookEvery, [this] { watchLines(); });
}

void Modem::lookForDtr() {
  if (!mLines.dtrFell()) return;
  mJournal.record("dtr-fell", std::nullopt, Json::object(), "data terminal ready has fallen");
  if (mPhase != Phase::command) endCall("data terminal ready has fallen");
}

void Modem::received(std::span<const std::uint8_t> bytes, const LineSettings& settings) {
  lookForDtr();  // what comes behind a fall is no longer the call's
  if (settings != modemSettings) return notUnderstood(bytes, settings);
  mSettingsReported = false;
  // A call's bytes come one by one; ATH in one piece is for the modem.
  if (mPhase == Phase::call && textOf(bytes).starts_with("ATH")) endCall("ATH");
  for (const std::uint8_t byte : bytes) {
    if (mExchange) {
      mExchange->receive(byte);
    } else {
      commandByte(static_cast<char>(byte));
    }
  }
}

void Modem::notUnderstood(std::span<const std::uint8_t> bytes, const LineSettings& settings) {
  const std::string why = "the modem talks at " + settingsText(modemSettings) +
                          ", the line is set to " + settingsText(settings);
  for (const std::uint8_t byte : bytes) {
    mJournal.record("ignored", std::nullopt, {{"value", byte}, {"reason", why}},
                    mSettingsReported ? "" : hex(byte) + " not understood: " + why);
    mSettingsReported = true;
  }
}

void Modem::commandByte(char byte) {
  const bool lineEnd = byte == '\r' || byte == '\n';
  if (lineEnd && mCommand.empty()) return;  // the line feed behind a number does not end the call
  if (mPhase == Phase::dialling) endCall("by another command");
  if (!lineEnd) mCommand.push_back(byte);
  if (lineEnd || mCommand == "ATH") command(std::exchange(mCommand, {}));
}

void Modem::command(const std::string& line) {
  mJournal.record("modem-command", std::nullopt, {{"text", line}});
  if (line.starts_with("ATDP") || line.starts_with("ATDT")) return dial(line);
  if (line.starts_with("AT")) return say("OK");
  mJournal.record("ignored", std::nullopt, {{"reason", "no modem command"}},
                  "the modem does not understand \"" + line + "\"");
}

void Modem::dial(const std::string& line) {
  constexpr std::size_t prefix = 4;
  const std::string number = line.substr(prefix);
  const bool pulse = line[prefix - 1] == 'P';
  mPhase = Phase::dialling;
  mJournal.record("dial", std::nullopt, {{"number", number}, {"pulse", pulse}},
                  "dials " + number + (pulse ? " by pulses" : " by tones"));
  mAnswer = mScheduler.after(mOptions.delay, [this] { answerCall(); });
}

void Modem::answerCall() {
  using enum ModemOptions::Answer;
  const auto answer = mOptions.answers[std::min(mCalls++, mOptions.answers.size() - 1)];
  if (answer == silent) return;
  if (answer == connect) return connected();
  mPhase = Phase::command;
  say(answer == busy ? busyWord : "NO CARRIER");
}

void Modem::connected() {
  mPhase = Phase::call;
  Wire& wire = *this;
  mExchange = std::make_unique<Exchange>(wire, mTerminals, mScheduler, mJournal, bytesPerSecond);
  say("CONNECT 4800");
  mLines.carrier(true);
  mJournal.record("carrier", std::nullopt, {{"on", true}}, "the call stands");
  if (!mOptions.carrierLoss) return;
  mLoss = mScheduler.after(*mOptions.carrierLoss * 1000, [this] { endCall("the line was lost"); });
}

void Modem::endCall(const std::string& why) {
  const bool stood = std::exchange(mPhase, Phase::command) == Phase::call;
  mAnswer.cancel();
  mLoss.cancel();
  mCommand.clear();
  if (stood) {
    mExchange->breakOff("the call was ended");
    mEnded = std::move(mExchange);
    mBury = mScheduler.after(0, [this] { mEnded.reset(); });
    mLines.carrier(false);
    mJournal.record("carrier", std::nullopt, {{"on", false}});
  }
  mJournal.record("hang-up", std::nullopt, {{"reason", why}}, "the call was ended (" + why + ")");
  say("NO CARRIER");
}

void Modem::say(std::string_view words) {
  mJournal.record("modem-answer", std::nullopt, {{"text", words}},
                  "the modem says " + std::string(words));
  const std::string line = "\r\n" + std::string(words) + "\r\n";
  if (mOptions.pieces && words == busyWord) return sayInPieces(line);
  mWords.cancel();
  mLine->send(Bytes(line.begin(), line.end()));
}

void Modem::sayInPieces(std::string words) {
  constexpr std::size_t pieceLength = 3;  // one boundary falls into the word
  const std::string piece = words.substr(0, pieceLength);
  words.erase(0, piece.size());
  mLine->send(Bytes(piece.begin(), piece.end()));
  if (words.empty()) return;
  mWords = mScheduler.after(pieceMs, [this, words] { sayInPieces(words); });
}

void Modem::send(std::span<const std::uint8_t> bytes) {
  if (mPhase == Phase::call) mLine->send(bytes);
}

}  // namespace cronvel::simulator
