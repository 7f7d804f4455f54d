#include "simulator/base/Scheduler.h"

#include <algorithm>
#include <cmath>

namespace cronvel::simulator {

Scheduler::Task& Scheduler::Task::operator=(Task&& other) noexcept {
  if (this == &other) return *this;
  cancel();
  mScheduler = std::exchange(other.mScheduler, nullptr);
  mKey = other.mKey;
  return *this;
}

void Scheduler::Task::cancel() {
  if (mScheduler) mScheduler->mHandlers.erase(mKey);
  mScheduler = nullptr;
}

Scheduler::Task Scheduler::after(double milliseconds, Handler handler) {
  const Key key{now() + milliseconds, mNextId++};
  mHandlers.emplace(key, std::move(handler));
  scheduled();
  return {*this, key};
}

void Scheduler::runDue() {
  const double time = now();
  const std::uint64_t firstNew = mNextId;
  for (;;) {
    const auto due = std::find_if(mHandlers.begin(), mHandlers.end(), [&](const auto& entry) {
      return entry.first.first > time || entry.first.second < firstNew;
    });
    if (due == mHandlers.end() || due->first.first > time) return;
    const Handler handler = std::move(due->second);
    mHandlers.erase(due);
    handler();
  }
}

std::optional<double> Scheduler::nextDue() const {
  if (mHandlers.empty()) return std::nullopt;
  return mHandlers.begin()->first.first;
}

TimerScheduler::TimerScheduler(std::unique_ptr<Timer> timer) : mTimer(std::move(timer)) {
  mTimer->onTimer([this] {
    mTimer->Enabled(false);
    runDue();
    arm();
  });
}

double TimerScheduler::now() const {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - mStart)
      .count();
}

void TimerScheduler::arm() {
  const auto due = nextDue();
  if (!due) return mTimer->Enabled(false);
  constexpr double longest = 60'000;
  const double wait = std::clamp(std::ceil(*due - now()), 1.0, longest);
  mTimer->Interval(static_cast<std::int32_t>(wait));
  mTimer->Enabled(true);
}

}  // namespace cronvel::simulator
