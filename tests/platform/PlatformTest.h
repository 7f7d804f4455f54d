#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

struct Raised {
  int number = 0;  ///< 0: nothing was raised
  std::string text;
};

inline Raised raisedBy(const std::function<void()>& action) {
  try {
    action();
  } catch (const RunTimeError& error) {
    return {static_cast<int>(error.number()), error.what()};
  }
  return {};
}

/// Whether the system is not Windows itself: what it does differently is not the platform's fault.
bool underWine();

/// The real platform, and a wait that gives up.
class PlatformTest : public testing::Test {
 protected:
  using Steady = std::chrono::steady_clock;
  using Milliseconds = std::chrono::milliseconds;

  bool pumpUntil(const std::function<bool()>& reached, int milliseconds = 4000) {
    const auto end = Steady::now() + Milliseconds(milliseconds);
    while (!reached()) {
      if (Steady::now() > end) return false;
      platform->messagePump().waitEvents();
    }
    return true;
  }

  void pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
  }

  /// How many waiting passes fit in some time: few, unless the pump burns the processor.
  int passesIn(int milliseconds) {
    int passes = 0;
    pumpUntil(
        [&] {
          ++passes;
          return false;
        },
        milliseconds);
    return passes;
  }

  std::unique_ptr<Platform> platform = Platform::create();
};

}  // namespace cronvel
