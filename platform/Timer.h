#pragma once

#include <cstdint>
#include <functional>

namespace cronvel {

/// A repeating timer. Its handler runs inside a pump pass on the owner's thread, never inside
/// itself; ticks that fall due while nobody pumps are one tick.
class Timer {
 public:
  virtual ~Timer() = default;
  /// Milliseconds, 1 or more. A change starts the interval anew.
  virtual void Interval(std::int32_t milliseconds) = 0;
  virtual bool Enabled() const = 0;
  /// False at first. Switching on starts the interval anew.
  virtual void Enabled(bool enabled) = 0;
  virtual void onTimer(std::function<void()> handler) = 0;
};

}  // namespace cronvel
