#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/MessagePump.h"
#include "platform/reactor/Poller.h"

namespace cronvel {

/// The message pump: waits for sockets and the like and for points in time and calls the handlers
/// of those that came. Single-threaded. A handler may pump again, may end any watch (its own too)
/// and may throw; what the pass had not reached by then comes in a later pass. A pass costs by what
/// is ready and due, not by what is watched.
class Reactor : public MessagePump {
  struct Source;

 public:
  using TimePoint = Poller::TimePoint;
  /// Gets the events that were found; 0 for a call that was asked for by time or for each pass.
  using Handler = std::function<void(short found)>;

  /// A handler's registration, which ends with it. The reactor outlives its watches.
  class Watch {
   public:
    Watch() = default;
    Watch(Watch&&) noexcept = default;
    Watch& operator=(Watch&& other) noexcept;
    ~Watch();

    /// Calls the handler when one of `events` (of `Poller`) comes on the handle, or a failure.
    /// Replaces what was watched; without events nothing is. To be ended before the handle is
    /// closed.
    void attach(Poller::Handle handle, short events);
    void detach() { attach(Poller::noHandle, 0); }
    /// Calls the handler once, in the first pass at or after `time`.
    void callAt(TimePoint time);
    void callSoon() { callAt(TimePoint::min()); }
    void cancelCall() { callAt(TimePoint::max()); }
    /// Calls the handler in each pass. Unlike a call that is due, this does not keep `awaitEvents`
    /// from blocking its few milliseconds first.
    void callEachPass(bool on);

   private:
    friend class Reactor;
    Watch(Reactor& reactor, std::shared_ptr<Source> source);
    Reactor* mReactor = nullptr;
    std::shared_ptr<Source> mSource;
  };

  explicit Reactor(std::unique_ptr<Poller> poller);
  ~Reactor() override;

  [[nodiscard]] Watch watch(Handler handler);

  void DoEvents() override;
  void awaitEvents() override;
  void wake() override { mPoller->wake(); }
  bool inPass() const override { return mDepth > 0; }
  bool hostQuits() const override { return mPoller->hostQuits(); }

 private:
  struct Ready;
  struct Earlier {
    bool operator()(const Source* left, const Source* right) const;
  };
  /// Counts the passes that are under way, one inside the other.
  class Depth {
   public:
    explicit Depth(Reactor& reactor) : mReactor(reactor) { ++mReactor.mDepth; }
    ~Depth() { --mReactor.mDepth; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

   private:
    Reactor& mReactor;
  };

  void pass();
  void endPass();
  bool crowded() const;
  void detach(Source& source);
  void schedule(Source& source, TimePoint time);
  bool setEachPass(Source& source, bool on);
  TimePoint nextDue() const;
  void serve(const std::vector<Ready>& all, TimePoint now);
  std::vector<Ready> readySources(TimePoint now) const;
  void remove(Source& source);

  int mDepth = 0;
  TimePoint mPassBegan;
  std::uint64_t mCalls = 0;  ///< of handlers so far
  std::uint64_t mWatches = 0;
  std::unique_ptr<Poller> mPoller;
  std::unordered_map<Poller::Handle, Source*> mAttached;
  std::set<std::pair<TimePoint, Source*>> mDue;  ///< who is to be called by time
  std::set<Source*, Earlier> mEachPass;
  std::vector<Poller::Found> mFound;  ///< of a poll until its answers are read
};

}  // namespace cronvel
