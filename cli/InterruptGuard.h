#pragma once

namespace cronvel {

/// While it lives, Ctrl-C and a request to terminate are noted instead of ending the program. The
/// third one ends it at once; not the second, because a supervisor such as timeout(1) sends its
/// signal to the program and again to its group. A signal that was ignored stays so.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  bool requested() const;

 private:
  using Handler = void (*)(int);
  static Handler take(int signal);

  Handler mEarlierInterrupt;
  Handler mEarlierTerminate;
};

}  // namespace cronvel
