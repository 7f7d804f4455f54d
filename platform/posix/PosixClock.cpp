#include <cerrno>
#include <ctime>

#include "platform/system/Machine.h"

namespace cronvel {
namespace {

constexpr long nanosecondsPerSecond = 1'000'000'000;

class PosixClock : public Clock {
 public:
  double Timer() override {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    const int seconds = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
    return seconds + static_cast<double>(now.tv_nsec) / nanosecondsPerSecond;
  }

  double steadySeconds() override {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) +
           static_cast<double>(now.tv_nsec) / nanosecondsPerSecond;
  }

  void sleep(std::int32_t milliseconds) override {
    if (milliseconds <= 0) return;
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += milliseconds % 1000 * 1'000'000L;
    if (end.tv_nsec >= nanosecondsPerSecond) {
      ++end.tv_sec;
      end.tv_nsec -= nanosecondsPerSecond;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
  }
};

}  // namespace

std::unique_ptr<Clock> makeClock() { return std::make_unique<PosixClock>(); }

}  // namespace cronvel
