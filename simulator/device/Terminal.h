#pragma once

#include <cstdint>
#include <string>

#include "simulator/base/Journal.h"
#include "simulator/device/Command.h"
#include "simulator/device/Device.h"
#include "simulator/device/Faults.h"

namespace cronvel::simulator {

/// One simulated terminal: carries out commands, with its faults, and makes live events. How bytes
/// reach it is an `Exchange`'s business.
class Terminal {
 public:
  /// `number` is 0 to 159. `seed` spreads the faults that come at random.
  Terminal(int number, RecordMemory memory, Faults faults, const Scheduler& scheduler,
           std::uint32_t seed = 1);

  int number() const { return mDevice.number; }
  std::uint8_t address() const { return mDevice.address(); }
  void faults(const Faults& faults) { mFaults = faults; }

  /// Carries out a command with a payload that is complete.
  Outcome execute(const Command& command, Payload payload);

  void cardCapacity(std::size_t cards) { mDevice.cardCapacity = cards; }
  void setClock(const Date& date, int secondOfDay) { mDevice.clock.set(date, secondOfDay); }

  /// Live monitoring: whether it is on, and what the next event sends: 0xED, the terminal's number,
  /// card (2 bytes), hour and minute in packed BCD, and a running number of two bytes from 1.
  bool monitored() const { return mDevice.monitored; }
  /// Milliseconds between two events; 0: none.
  double eventInterval() const { return mEventInterval; }
  void eventInterval(double milliseconds) { mEventInterval = milliseconds; }
  Bytes nextEvent();
  int eventsSent() const { return mEvents; }

  /// What its display and settings show now, for a person and for a program.
  std::string stateText() const { return mDevice.text(); }
  Json stateFields() const { return mDevice.fields(); }

 private:
  Device mDevice;
  Faults mFaults;
  std::uint32_t mSeed;
  int mEvents = 0;
  double mEventInterval = 2000;
};

}  // namespace cronvel::simulator
