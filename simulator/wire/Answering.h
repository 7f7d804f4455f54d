#pragma once

#include <cstddef>
#include <string>

#include "simulator/base/Journal.h"
#include "simulator/base/Scheduler.h"
#include "simulator/device/Terminal.h"
#include "simulator/wire/Wire.h"

namespace cronvel::simulator {

/// Answers commands on one wire, one at a time: in due time, and streams at the wire's pace.
class Answering {
 public:
  /// `networkSpeed` paces streams on a network wire, in bytes per second. Everything outlives this.
  Answering(Wire& wire, Scheduler& scheduler, Journal& journal, double networkSpeed)
      : mWire(wire), mScheduler(scheduler), mJournal(journal), mNetworkSpeed(networkSpeed) {}

  /// `terminal` made this of a command.
  void start(const Terminal& terminal, Outcome outcome);
  /// Whether an answer is due or going out.
  bool busy() const { return mBusy; }
  /// Ends what is under way; nothing more is sent.
  void breakOff(const std::string& why);

 private:
  void showState();
  void hangUp();
  void answer();
  void reply();
  std::string lineProblem() const;
  void startStream();
  void refuseStream(const std::string& why);
  void deliver(double bytesPerMs);
  void sendDue();
  std::size_t dueBefore(std::size_t limit) const;
  void pauseDelivery();
  void sent();
  void streamEnded(bool complete, const std::string& why);
  void record(std::string_view name, Json fields, const std::string& text = {});

  Wire& mWire;
  Scheduler& mScheduler;
  Journal& mJournal;
  double mNetworkSpeed;

  const Terminal* mTerminal = nullptr;
  Outcome mOutcome;
  bool mBusy = false;
  bool mStreaming = false;
  Scheduler::Task mTask;  // the answer, or its next part
  // The delivery under way: what to send, and from where and when its pace counts.
  Bytes mBytes;
  std::size_t mSent = 0;
  double mBytesPerMs = 0;
  std::size_t mPacedFrom = 0;
  double mPacedSince = 0;
  double mStreamStarted = 0;
};

}  // namespace cronvel::simulator
