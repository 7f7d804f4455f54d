#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace cronvel {

/// The system's side of the reactor: finds out what is ready and, on a desktop, brings the host's
/// message loop and the reactor's passes together.
class Poller {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Duration = TimePoint::duration;
  /// A file descriptor, a socket, or (with `signalled`) an event of the system.
  using Handle = std::intptr_t;
  static constexpr Handle noHandle = -1;
  /// Events; an interest is their sum.
  static constexpr short readable = 1, writable = 2, signalled = 4;

  struct Item {
    Handle handle;
    short interest;
    short found;  ///< the events that came; failures count as all of them
  };

  virtual ~Poller() = default;
  /// For a host that has messages: dispatches them.
  virtual void pumpHost() {}
  /// For a host that has messages: waits for one, or for something to be ready.
  virtual void awaitHost(Duration /*longestWait*/) {}
  /// Looks what is ready. Waits only where `awaitHost` does not.
  virtual void poll(std::span<Item> items, Duration longestWait) = 0;

  /// Ends a wait under way, or else keeps the next one from waiting. From any thread; on POSIX from
  /// a signal handler as well.
  virtual void wake() = 0;

  /// From now on these events of the handle are to cause a pass; 0 for none, before it is closed.
  virtual void setInterest(Handle /*handle*/, short /*events*/) {}
  /// A pass is to take place at this time at the latest, even if only the host's own loop runs.
  virtual void callBy(TimePoint /*time*/) {}
  /// A pass is over; the next one has to take place at this time at the latest.
  virtual void passEnded(TimePoint /*next*/) {}
  /// What a pass is, for the host's own loop.
  // NOLINTNEXTLINE(performance-unnecessary-value-param): kept by whoever has such a loop
  virtual void setPass(std::function<void()> /*pass*/) {}
};

std::unique_ptr<Poller> makePoller();

}  // namespace cronvel
