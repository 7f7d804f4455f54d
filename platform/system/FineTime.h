#pragma once

#include <cstdint>

namespace cronvel {

/// The time of day in fine steps, out of a clock that goes in steps of up to 15.6 ms and a counter
/// that goes evenly. All in units of 100 ns.
class FineTime {
 public:
  std::uint64_t at(std::uint64_t clock, std::uint64_t counter) {
    const std::uint64_t time = mClock + (counter - mCounter);
    if (time >= clock && time < clock + longestStep) return time;
    // The first look, or somebody has set the clock, or the two have drifted apart.
    mClock = clock;
    mCounter = counter;
    return clock;
  }

 private:
  static constexpr std::uint64_t longestStep = 2 * 156'250;

  std::uint64_t mClock = 0;    ///< what it said ...
  std::uint64_t mCounter = 0;  ///< ... when the counter said this
};

}  // namespace cronvel
