#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/SerialLineEnd.h"
#include "simulator/base/Journal.h"
#include "simulator/base/Scheduler.h"
#include "simulator/device/Terminal.h"

namespace cronvel::simulator {

/// What leads from the terminals to the PC: a serial line or one network connection.
class Wire {
 public:
  virtual ~Wire() = default;
  virtual void send(std::span<const std::uint8_t> bytes) = 0;
  /// How the PC's port is set now; nothing on the network.
  virtual std::optional<LineSettings> settings() const = 0;
  /// Ends a network connection; nothing on a serial line.
  virtual void hangUp() = 0;
};

/// The terminals' side of the conversation on one wire: notices who is addressed, collects the
/// command, has the terminal carry it out, answers in due time.
class Exchange {
 public:
  /// `networkSpeed` paces streams on a network wire, in bytes per second. Everything outlives this.
  Exchange(Wire& wire, std::vector<Terminal*> terminals, Scheduler& scheduler, Journal& journal,
           double networkSpeed = 20'000);

  /// A byte from the serial line. Only one with mark parity at 600 baud is an address; a command's
  /// bytes are those without mark at 600 baud. Others are reported and not understood.
  void receive(std::uint8_t byte, const LineSettings& settings);
  /// A byte from the network: the first one, and the first after each complete command, is an
  /// address.
  void receive(std::uint8_t byte);

  /// Ends what is under way. Nothing more is sent until the next command.
  void breakOff(const std::string& why);

 private:
  enum class Phase {
    idle,  ///< waits for an address
    body,  ///< collects a command (on the network also one for somebody else, to find its end)
    lost,  ///< did not understand; waits for an address that has the mark
  };

  void address(std::uint8_t byte);
  void body(std::uint8_t byte);
  void misunderstood(const std::string& why);
  void complete();
  void watchMonitoring();
  void sendEvent(Terminal& terminal);
  void scheduleAnswer();
  void answer();
  void reply();
  void showState();
  void startStream();
  void refuseStream(const std::string& why);
  void deliver(Bytes bytes, double bytesPerMs, std::vector<std::size_t> pauses);
  void sendDue();
  void pauseDelivery();
  void sent();
  void streamEnded(bool complete, const std::string& why);
  std::string lineProblem() const;
  const Faults& faults() const { return mTerminal->faults(); }

  Wire& mWire;
  std::vector<Terminal*> mTerminals;
  Scheduler& mScheduler;
  Journal& mJournal;
  double mNetworkSpeed;

  Phase mPhase = Phase::idle;
  std::int32_t mBodySpeed = 600;  // baud that the next byte of the command comes at
  Terminal* mTerminal = nullptr;  // who is addressed
  Bytes mBody;
  std::set<LineSettings::Parity> mBodyParities;
  bool mSpeedReported = false;

  bool mEndsInGap = false;  // the command has no fixed length: the next address ends it too
  Scheduler::Task mGap;
  Scheduler::Task mTask;                         // the answer, or its next part
  std::map<Terminal*, Scheduler::Task> mEvents;  // the next live event of each monitored terminal
  bool mAnswering = false;
  bool mStreaming = false;
  Outcome mOutcome;
  // The delivery under way: what to send, and from where and when its pace counts.
  Bytes mBytes;
  std::size_t mSent = 0;
  std::vector<std::size_t> mPauses;
  double mBytesPerMs = 0;
  std::size_t mPacedFrom = 0;
  double mPacedSince = 0;
  double mStreamStarted = 0;
};

/// "mark", "space", "none", "odd" or "even".
std::string parityText(LineSettings::Parity parity);

}  // namespace cronvel::simulator
