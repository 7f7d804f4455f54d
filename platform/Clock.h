#pragma once

#include <cstdint>

namespace cronvel {

class Clock {
 public:
  virtual ~Clock() = default;
  /// Seconds since midnight, local time, with a fraction finer than a millisecond. Starts again
  /// from 0 at midnight.
  virtual double Timer() = 0;
  /// Seconds since some moment, which no change of the machine's time prolongs or shortens.
  virtual double steadySeconds() = 0;
  /// Suspends the calling thread; nothing is pumped meanwhile.
  virtual void sleep(std::int32_t milliseconds) = 0;
};

}  // namespace cronvel
