#pragma once

#include <string>

#include "simulator/base/Scheduler.h"
#include "simulator/memory/Date.h"

namespace cronvel::simulator {

/// A terminal's time, date and weekday. It ticks from whatever it was set to.
class DeviceClock {
 public:
  explicit DeviceClock(const Scheduler& scheduler)
      : mScheduler(scheduler), mSetAt(scheduler.now()) {}

  void set(const Date& date, int secondOfDay);
  /// As the host numbers it; 0 until the first date.
  void weekday(int weekday) { mWeekday = weekday; }

  Date date() const { return read().date; }
  int secondOfDay() const { return read().second; }
  int weekday() const;

 private:
  struct Reading {
    Date date;
    int second;  ///< of the day
    int daysPassed;
  };
  Reading read() const;

  const Scheduler& mScheduler;
  Date mDate;            // when it was set
  int mSecondOfDay = 0;  // then
  double mSetAt;         // the scheduler's time then
  int mWeekday = 0;
};

/// "HH:MM:SS".
std::string timeText(int hours, int minutes, int seconds);
std::string timeText(int secondOfDay);

}  // namespace cronvel::simulator
