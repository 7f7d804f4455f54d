#include "platform/win32/WaitableTimer.h"

#include <algorithm>

namespace cronvel {

namespace {

constexpr DWORD manualReset = 0x1, highResolution = 0x2;

HANDLE makeTimer() {
  const HANDLE exact =
      CreateWaitableTimerExW(nullptr, nullptr, manualReset | highResolution, TIMER_ALL_ACCESS);
  return exact != nullptr ? exact : CreateWaitableTimerW(nullptr, TRUE, nullptr);
}

}  // namespace

WaitableTimer::WaitableTimer() : mTimer(makeTimer()) {}

WaitableTimer::~WaitableTimer() { CloseHandle(mTimer); }

void WaitableTimer::start(std::chrono::nanoseconds time) {
  LARGE_INTEGER due{};
  due.QuadPart = -std::max<long long>(time.count() / 100, 1);  // negative: from now on
  SetWaitableTimer(mTimer, &due, 0, nullptr, nullptr, FALSE);
}

}  // namespace cronvel
