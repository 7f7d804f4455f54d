#include "cli/Invocation.h"

#include <utility>

namespace cronvel {

Invocation::Invocation(Link link, std::function<void(TerminalSession&)> task)
    : Invocation([link = std::move(link), task = std::move(task)](Shell shell) {
        TerminalSession session(shell, link);
        task(session);
      }) {}

}  // namespace cronvel
