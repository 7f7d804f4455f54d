#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "platform/Timer.h"

namespace cronvel::simulator {

/// Runs things later, one after another on one thread. Whoever derives from it owns the time, so
/// that a test can move it by hand. It outlives its tasks.
class Scheduler {
 public:
  using Handler = std::function<void()>;
  using Key = std::pair<double, std::uint64_t>;

  /// Something that is to happen; it does not when this is destroyed, cancelled or replaced before.
  class Task {
   public:
    Task() = default;
    Task(Scheduler& scheduler, Key key) : mScheduler(&scheduler), mKey(key) {}
    Task(Task&& other) noexcept { *this = std::move(other); }
    Task& operator=(Task&& other) noexcept;
    ~Task() { cancel(); }
    void cancel();

   private:
    Scheduler* mScheduler = nullptr;
    Key mKey{};
  };

  Scheduler() = default;
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;
  virtual ~Scheduler() = default;

  /// Milliseconds since some start.
  virtual double now() const = 0;

  [[nodiscard]] Task after(double milliseconds, Handler handler);

 protected:
  /// Runs what is due now; not what that schedules anew.
  void runDue();
  /// When the next thing is due.
  std::optional<double> nextDue() const;
  /// Something was scheduled.
  virtual void scheduled() = 0;

 private:
  std::map<Key, Handler> mHandlers;
  std::uint64_t mNextId = 0;
};

/// In real time, from the handler of a platform's timer.
class TimerScheduler : public Scheduler {
 public:
  explicit TimerScheduler(std::unique_ptr<Timer> timer);
  double now() const override;

 private:
  void scheduled() override { arm(); }
  void arm();

  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
  std::unique_ptr<Timer> mTimer;
};

}  // namespace cronvel::simulator
