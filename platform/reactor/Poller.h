#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

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

  struct Found {
    Handle handle;
    short events;  ///< failures count as all of them
  };

  virtual ~Poller() = default;
  /// For a host that has messages: dispatches them.
  virtual void pumpHost() {}
  /// The last of these calls met the message that ends the host's program, and left it to its loop.
  virtual bool hostQuits() const { return false; }
  /// Waits for something to be ready, or for a message of such a host.
  virtual void await(Duration longestWait) = 0;
  /// Adds what is ready, of what there is an interest in; the same again in each call until it was
  /// dealt with. Costs by what is ready, not by what is watched.
  virtual void poll(std::vector<Found>& found) = 0;
  /// From now on these events of the handle are to be found and are to cause a pass; 0 for none,
  /// before it is closed. Raises 67 where the system cannot watch as many.
  virtual void setInterest(Handle handle, short events) = 0;

  /// Ends a wait under way, or else keeps the next one from waiting. From any thread; on POSIX from
  /// a signal handler as well.
  virtual void wake() = 0;

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
