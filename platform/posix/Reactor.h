#pragma once

#include <poll.h>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "platform/MessagePump.h"

namespace cronvel {

/// The message pump of POSIX: waits for file descriptors and points in time and calls the handlers
/// of those that came. Single-threaded. A handler may pump again, may end any watch (its own too)
/// and may throw; what the pass had not reached by then comes in a later pass.
class Reactor : public MessagePump {
  struct Source;

 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  /// Gets what `poll` reported; 0 for a call that was asked for by time or for each pass.
  using Handler = std::function<void(short revents)>;

  /// A handler's registration, which ends with it. The reactor outlives its watches.
  class Watch {
   public:
    Watch() = default;
    Watch(Watch&&) noexcept = default;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch();

    /// Calls the handler when the descriptor is ready for one of `events` (of `poll`; also for a
    /// hang-up or an error). Replaces what was watched; without events nothing is.
    void attach(int fd, short events);
    void detach() { attach(-1, 0); }
    /// Calls the handler once, in the first pass at or after `time`.
    void callAt(TimePoint time);
    void callSoon() { callAt(TimePoint::min()); }
    void cancelCall() { callAt(TimePoint::max()); }
    /// Calls the handler in each pass. Unlike a call that is due, this does not keep `waitEvents`
    /// from blocking its few milliseconds first.
    void callEachPass(bool on);

   private:
    friend class Reactor;
    Watch(Reactor& reactor, std::shared_ptr<Source> source);
    Reactor* mReactor = nullptr;
    std::shared_ptr<Source> mSource;
  };

  Reactor();
  ~Reactor() override;

  [[nodiscard]] Watch watch(Handler handler);

  void DoEvents() override;
  void waitEvents() override;

 private:
  struct Ready;

  void pass(TimePoint::duration longestWait);
  TimePoint::duration untilNextCall(TimePoint now) const;
  void pollSources(TimePoint::duration wait);
  std::vector<Ready> readySources(TimePoint now) const;
  void remove(const std::shared_ptr<Source>& source);

  std::vector<std::shared_ptr<Source>> mSources;
  std::vector<pollfd> mPolls;  ///< parallel to mSources from a poll until its answers are read
};

}  // namespace cronvel
