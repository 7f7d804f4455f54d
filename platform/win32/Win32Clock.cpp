#include <chrono>
#include <cstdint>
#include <ratio>

#include "platform/system/FineTime.h"
#include "platform/system/Machine.h"
#include "platform/win32/Module.h"
#include "platform/win32/WaitableTimer.h"

namespace cronvel {
namespace {

constexpr std::uint64_t ticksPerSecond = 10'000'000;
constexpr std::uint64_t ticksPerDay = 86400 * ticksPerSecond;

using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, ticksPerSecond>>;

std::uint64_t steadyTicks() {
  return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

class Win32Clock : public Clock {
 public:
  double Timer() override {
    FILETIME now{}, local{};
    GetSystemTimeAsFileTime(&now);
    FileTimeToLocalFileTime(&now, &local);
    const std::uint64_t ticks = (std::uint64_t{local.dwHighDateTime} << 32) | local.dwLowDateTime;
    return static_cast<double>(mTime.at(ticks, steadyTicks()) % ticksPerDay) /
           static_cast<double>(ticksPerSecond);
  }

  double steadySeconds() override {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }

  void sleep(std::int32_t milliseconds) override {
    if (milliseconds <= 0) return;
    mSleep.start(std::chrono::milliseconds(milliseconds));
    WaitForSingleObject(mSleep.handle(), INFINITE);
  }

 private:
  FineTime mTime;
  WaitableTimer mSleep;
};

}  // namespace

std::unique_ptr<Clock> makeClock() { return std::make_unique<Win32Clock>(); }

}  // namespace cronvel
