#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "simulator/base/Journal.h"
#include "simulator/base/Scheduler.h"
#include "simulator/device/Admission.h"
#include "simulator/device/CardList.h"
#include "simulator/device/Faults.h"
#include "simulator/device/Outcome.h"
#include "simulator/memory/Date.h"
#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// One simulated terminal: its number, what it keeps, and what its commands do. How bytes reach it
/// is an `Exchange`'s business.
class Terminal {
 public:
  /// `number` is 0 to 159.
  Terminal(int number, RecordMemory memory, Faults faults, const Scheduler& scheduler);

  int number() const { return mNumber; }
  /// The byte that selects it.
  std::uint8_t address() const;
  const Faults& faults() const { return mFaults; }
  void faults(const Faults& faults) { mFaults = faults; }

  /// A command's name and how its bytes after the code come; nothing for an unknown code.
  struct Shape {
    std::string name;
    std::size_t payload = 0;           ///< bytes at most
    bool endsInGap = false;            ///< also complete when no more come
    bool (*ended)(Payload) = nullptr;  ///< also complete when this says so
    std::int32_t payloadSpeed = 600;   ///< baud
  };
  static std::optional<Shape> shape(std::uint8_t code);

  /// Carries out a command with a payload that is complete.
  Outcome execute(std::uint8_t code, Payload payload);

  void cardCapacity(std::size_t cards) { mCards = CardList(cards); }

  /// Live monitoring: whether it is on, and what the next event sends: 0xED, the terminal's number,
  /// card (2 bytes), hour and minute in packed BCD, and a running number of two bytes from 1.
  bool monitored() const { return mMonitored; }
  /// Milliseconds between two events; 0: none.
  double eventInterval() const { return mEventInterval; }
  void eventInterval(double milliseconds) { mEventInterval = milliseconds; }
  Bytes nextEvent();
  int eventsSent() const { return mEvents; }

  void setClock(const Date& date, int secondOfDay);

  /// What its display and settings show now, for a person and for a program.
  std::string stateText() const;
  Json stateFields() const;

 private:
  struct Command;
  struct ClockReading {
    Date date;
    int second;  ///< of the day
    int daysPassed;
  };
  static const Command* find(std::uint8_t code);

  Outcome setTime(Payload payload);
  Outcome setDate(Payload payload);
  Outcome getData(Payload payload);
  Outcome setKeyboard(Payload payload);
  Outcome testConnection(Payload payload);
  Outcome getDataByDate(Payload payload);
  Outcome resetMem(Payload payload);
  Outcome getDataBuff(Payload payload);
  Outcome setDayLight(Payload payload);
  Outcome switchMonitoring(Payload payload);
  Outcome properties(Payload payload);

  ClockReading clock() const;
  int weekday() const;

  int mNumber;
  RecordMemory mMemory;
  Faults mFaults;
  const Scheduler& mScheduler;

  Date mDate;               // when the clock was set
  double mSecondOfDay = 0;  // when it was set
  double mSetAt = 0;        // the scheduler's time then
  int mWeekday = 0;         // as the host numbers it; 0 until the first date
  int mKeyboard = 0;
  std::optional<DateRange> mDaylight;
  Admission mAdmission;
  CardList mCards;
  bool mMonitored = false;
  int mEvents = 0;
  double mEventInterval = 2000;
};

}  // namespace cronvel::simulator
