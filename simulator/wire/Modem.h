#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SerialLineEnd.h"
#include "simulator/wire/Exchange.h"
#include "simulator/wire/ModemLines.h"

namespace cronvel::simulator {

struct ModemOptions {
  enum class Answer {
    connect,
    busy,
    noCarrier,
    silent,  ///< never says anything
  };

  std::vector<Answer> answers{Answer::connect};  ///< to one call after another; the last one stays
  int delay = 1500;                              ///< from the number to the answer, milliseconds
  bool pieces = false;                           ///< BUSY comes in pieces
  std::optional<double> carrierLoss{};           ///< seconds after which a call breaks off
  std::string linesFile{};                       ///< see `ModemLines`
};

/// A telephone modem on a serial line, with terminals at the other end of the call. It talks at
/// 4800 baud without parity, in commands (AT...) until a call stands, and then passes bytes through
/// as a network connection does: an address first, no ninth bit.
class Modem : private Wire {
 public:
  /// Raises `std::runtime_error` where the lines' file cannot be written.
  Modem(std::unique_ptr<SerialLineEnd> line, std::vector<Terminal*> terminals, Scheduler& scheduler,
        Journal& journal, const ModemOptions& options);
  Modem(const Modem&) = delete;
  Modem& operator=(const Modem&) = delete;

 private:
  enum class Phase { command, dialling, call };

  void send(std::span<const std::uint8_t> bytes) override;
  std::optional<LineSettings> settings() const override { return std::nullopt; }
  void hangUp() override { endCall("by the terminal"); }

  void watchLines();
  void lookForDtr();
  void received(std::span<const std::uint8_t> bytes, const LineSettings& settings);
  void notUnderstood(std::span<const std::uint8_t> bytes, const LineSettings& settings);
  void commandByte(char byte);
  void command(const std::string& line);
  void dial(const std::string& line);
  void answerCall();
  void connected();
  void endCall(const std::string& why);
  void say(std::string_view words);
  void sayInPieces(std::string words);

  std::unique_ptr<SerialLineEnd> mLine;
  std::vector<Terminal*> mTerminals;
  Scheduler& mScheduler;
  Journal& mJournal;
  ModemOptions mOptions;
  ModemLines mLines;

  Phase mPhase = Phase::command;
  std::string mCommand;
  std::size_t mCalls = 0;
  bool mSettingsReported = false;
  std::unique_ptr<Exchange> mExchange;  ///< of the call
  std::unique_ptr<Exchange> mEnded;     ///< of a call just ended, which may still be running
  Scheduler::Task mWatch;
  Scheduler::Task mAnswer;
  Scheduler::Task mWords;
  Scheduler::Task mLoss;
  Scheduler::Task mBury;
};

}  // namespace cronvel::simulator
