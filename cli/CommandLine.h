#pragma once

#include <string>
#include <vector>

#include "cli/CommandFailure.h"
#include "cli/Io.h"
#include "platform/Platform.h"

namespace cronvel {

/// The whole command: reads the arguments (without the program's name), does what they ask and
/// reports every failure in one sentence.
ExitStatus runCommandLine(Platform& platform, Io& io, std::vector<std::string> arguments);

}  // namespace cronvel
