#pragma once

#include <functional>

#include "cli/Link.h"
#include "cli/Shell.h"
#include "cli/TerminalSession.h"

namespace cronvel {

/// A command line that was read and checked, and completed from the environment and the settings
/// file: what to do, and with which link. It is made once and then run; running it reads no option
/// again.
class Invocation {
 public:
  /// With a control that is set up for the link.
  Invocation(Link link, std::function<void(TerminalSession&)> task);
  /// Without a control.
  explicit Invocation(std::function<void(Shell)> task) : mTask(std::move(task)) {}

  /// Where it does not succeed it leaves by a `CommandFailure` or a `RunTimeError`.
  void run(Shell shell) const { mTask(shell); }

 private:
  std::function<void(Shell)> mTask;
};

}  // namespace cronvel
