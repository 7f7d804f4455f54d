#pragma once

namespace cronvel {

/// Runs the handlers of ports, sockets and timers, and on a desktop the host's own messages.
/// Either call may be made from inside a handler. An exception from a handler leaves the call.
class MessagePump {
 public:
  virtual ~MessagePump() = default;
  /// One pass over what is pending now. Never waits. Where many handlers pump, one inside the
  /// other, it makes no more than a pass in a millisecond: what is left is for those further up, so
  /// that a thousand events at once do not take a thousand handlers' stack.
  virtual void DoEvents() = 0;
  /// Blocks until something is pending or a few milliseconds have gone by. Runs no handler, so that
  /// who waits for something sees it before the handlers do.
  virtual void awaitEvents() = 0;
  /// For loops that wait for what a handler does: a pass over what is pending, after blocking while
  /// nothing is.
  void waitEvents() {
    awaitEvents();
    DoEvents();
  }
  /// Has an `awaitEvents` that blocks return at once, or else the next one not block. From any
  /// thread while the pump lives; on POSIX from a signal handler as well.
  virtual void wake() = 0;
  /// Whether one of the calls, or a handler in the host's own message loop, is under way further up
  /// this stack. What it works on must not be destroyed then.
  virtual bool inPass() const { return false; }
  /// Whether the last pass found that the host's program was told to quit. That stays for its own
  /// loop; a wait in front of it is to end.
  virtual bool hostQuits() const { return false; }
};

}  // namespace cronvel
