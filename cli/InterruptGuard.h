#pragma once

#include "control/Cronvel.h"

namespace cronvel {

/// While it lives, Ctrl-C, a request to terminate or to hang up, and output that nobody reads any
/// more end the command of the control that is under way instead of the program. The third one ends
/// the program at once; not the second, because a supervisor such as timeout(1) sends its signal to
/// the program and again to its group. A signal that was ignored stays so. Once one came, the
/// signals stay caught until the program ends: a second that comes late leaves its status alone.
/// One at a time.
class InterruptGuard {
 public:
  explicit InterruptGuard(Cronvel& control);
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  bool requested() const;
  /// What is called from now on tidies up after an interruption: only a further signal ends it.
  void forget();
};

}  // namespace cronvel
