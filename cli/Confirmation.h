#pragma once

#include <string>

#include "cli/Invocation.h"

namespace cronvel {

struct LinkOptions;

/// The task, after a person has confirmed it. `what` is what would be done, such as "Erase every
/// record". Fails with `wrongUse` where nobody can be asked. Ctrl-C at the question simply ends the
/// program.
Invocation confirmed(const std::string& what, const LinkOptions& link, const Io& io,
                     const Invocation& task);

}  // namespace cronvel
