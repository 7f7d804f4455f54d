#include <chrono>

#include "platform/system/Machine.h"
#include "platform/win32/Module.h"
#include "platform/win32/WaitableTimer.h"

namespace cronvel {
namespace {

constexpr std::uint64_t ticksPerSecond = 10'000'000;
constexpr std::uint64_t ticksPerDay = 86400 * ticksPerSecond;

/// Systems before Windows 8 have only the clock that steps with the tick.
using TimeGetter = void(WINAPI*)(FILETIME*);
TimeGetter timeGetter() {
  const FARPROC precise =
      GetProcAddress(GetModuleHandleW(L"kernel32"), "GetSystemTimePreciseAsFileTime");
  if (precise == nullptr) return &GetSystemTimeAsFileTime;
  return reinterpret_cast<TimeGetter>(reinterpret_cast<void*>(precise));
}

class Win32Clock : public Clock {
 public:
  double Timer() override {
    FILETIME now{}, local{};
    mGetTime(&now);
    FileTimeToLocalFileTime(&now, &local);
    const std::uint64_t ticks = (std::uint64_t{local.dwHighDateTime} << 32) | local.dwLowDateTime;
    return static_cast<double>(ticks % ticksPerDay) / static_cast<double>(ticksPerSecond);
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
  TimeGetter mGetTime = timeGetter();
  WaitableTimer mSleep;
};

}  // namespace

std::unique_ptr<Clock> makeClock() { return std::make_unique<Win32Clock>(); }

}  // namespace cronvel
