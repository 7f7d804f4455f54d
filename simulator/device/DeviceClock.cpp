#include "simulator/device/DeviceClock.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace cronvel::simulator {

void DeviceClock::set(const Date& date, int secondOfDay) {
  mWeekday = weekday();
  mDate = date;
  mSecondOfDay = secondOfDay;
  mSetAt = mScheduler.now();
}

// Moves on at midnight within 1 to 7; another numbering is the host's own and stays as it was set.
int DeviceClock::weekday() const {
  if (mWeekday < 1 || mWeekday > 7) return mWeekday;
  return (mWeekday - 1 + read().daysPassed) % 7 + 1;
}

DeviceClock::Reading DeviceClock::read() const {
  constexpr int secondsPerDay = 86'400;
  const double seconds = mSecondOfDay + (mScheduler.now() - mSetAt) / 1000;
  const int days = static_cast<int>(seconds / secondsPerDay);
  Date date = mDate;
  for (int i = 0; i < days; ++i) date = nextDay(date);
  return {date, static_cast<int>(std::fmod(seconds, secondsPerDay)), days};
}

std::string timeText(int hours, int minutes, int seconds) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", hours, minutes, seconds);
  return text.data();
}

std::string timeText(int secondOfDay) {
  return timeText(secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
}

}  // namespace cronvel::simulator
