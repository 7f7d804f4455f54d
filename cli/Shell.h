#pragma once

#include "cli/Io.h"
#include "platform/Platform.h"

namespace cronvel {

/// What a command runs on. Both outlive it.
struct Shell {
  Platform& platform;
  Io& io;
};

}  // namespace cronvel
