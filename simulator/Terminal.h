#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "simulator/Date.h"
#include "simulator/Faults.h"
#include "simulator/Journal.h"
#include "simulator/RecordMemory.h"
#include "simulator/Scheduler.h"

namespace cronvel::simulator {

/// What a terminal makes of a command.
struct Outcome {
  enum class Kind {
    accepted,  ///< done; answered with the good reply byte
    refused,   ///< understood, but its values cannot be; answered with another byte
    stream,    ///< answered with `stream`
    ignored,   ///< not answered at all
  };

  Kind kind = Kind::ignored;
  std::string text;     ///< the command in words: "SetTime 23:59:07"
  std::string problem;  ///< why it was refused or ignored
  RecordStream stream;
  int speed = 0;  ///< the baud rate that the stream is expected at; 0 when the code names none
};

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

  /// A command's name and the number of bytes after its code; nothing for an unknown code.
  struct Shape {
    std::string name;
    std::size_t payload = 0;
  };
  static std::optional<Shape> shape(std::uint8_t code);

  /// Carries out a command with a payload of the right length.
  Outcome execute(std::uint8_t code, std::span<const std::uint8_t> payload);

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

  Outcome setTime(std::span<const std::uint8_t> payload);
  Outcome setDate(std::span<const std::uint8_t> payload);
  Outcome getData(std::span<const std::uint8_t> payload);
  Outcome setKeyboard(std::span<const std::uint8_t> payload);
  Outcome testConnection(std::span<const std::uint8_t> payload);
  Outcome getDataByDate(std::span<const std::uint8_t> payload);
  Outcome resetMem(std::span<const std::uint8_t> payload);
  Outcome getDataBuff(std::span<const std::uint8_t> payload);
  Outcome setDayLight(std::span<const std::uint8_t> payload);

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
};

}  // namespace cronvel::simulator
