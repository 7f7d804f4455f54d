#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "simulator/base/Journal.h"
#include "simulator/base/Scheduler.h"
#include "simulator/device/Terminal.h"
#include "simulator/wire/Answering.h"
#include "simulator/wire/Wire.h"

namespace cronvel::simulator {

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

  bool canBeRead(const LineSettings& settings) const;
  void unreadable(std::uint8_t byte, const LineSettings& settings);
  void address(std::uint8_t byte);
  void select(std::uint8_t address);
  void body(std::uint8_t byte);
  void misunderstood(const std::string& why);
  void complete();
  void watchMonitoring();
  void sendEvent(Terminal& terminal);

  Wire& mWire;
  std::vector<Terminal*> mTerminals;
  Scheduler& mScheduler;
  Journal& mJournal;
  Answering mAnswering;

  Phase mPhase = Phase::idle;
  Terminal* mTerminal = nullptr;      // who is addressed
  const Command* mCommand = nullptr;  // what is collected, once its code has come
  Bytes mBody;
  std::set<LineSettings::Parity> mBodyParities;
  bool mSpeedReported = false;
  Scheduler::Task mGap;                          // of a command that ends in one
  std::map<Terminal*, Scheduler::Task> mEvents;  // the next live event of each monitored terminal
};

}  // namespace cronvel::simulator
