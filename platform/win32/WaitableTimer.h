#pragma once

#include <windows.h>

#include <chrono>

namespace cronvel {

/// A point in time that can be waited for, to a fraction of a millisecond where the system has such
/// timers. (A wait's own limit steps with the system's clock tick, some 16 ms.)
class WaitableTimer {
 public:
  WaitableTimer();
  ~WaitableTimer();
  WaitableTimer(const WaitableTimer&) = delete;
  WaitableTimer& operator=(const WaitableTimer&) = delete;

  HANDLE handle() const { return mTimer; }
  /// Becomes signalled after this time.
  void start(std::chrono::nanoseconds time);

 private:
  HANDLE mTimer;
};

}  // namespace cronvel
