#pragma once

#include <cmath>

#include "platform/Clock.h"

namespace cronvel {

/// The limit of a wait by the seconds clock, which goes evenly from the start of the wait on: when
/// somebody sets the machine's clock, the wait does not become longer or shorter. Midnight stays:
/// there the seconds clock starts again from 0, and a limit beyond it never comes.
class WaitLimit {
 public:
  enum class Midnight { startsAgain, ignored };

  /// The clock outlives it.
  WaitLimit(Clock& clock, double seconds, Midnight midnight)
      : mClock(clock),
        mMidnight(midnight),
        mStart(clock.Timer()),
        mEnd(mStart + seconds),
        mSteadyStart(clock.steadySeconds()) {}

  bool over() const {
    constexpr double secondsPerDay = 86400;
    const double now = mStart + (mClock.steadySeconds() - mSteadyStart);
    return (mMidnight == Midnight::ignored ? now : std::fmod(now, secondsPerDay)) >= mEnd;
  }

 private:
  Clock& mClock;
  Midnight mMidnight;
  double mStart;
  double mEnd;
  double mSteadyStart;
};

}  // namespace cronvel
