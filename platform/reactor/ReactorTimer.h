#pragma once

#include <memory>

#include "platform/Timer.h"
#include "platform/reactor/Reactor.h"

namespace cronvel {

std::unique_ptr<Timer> makeTimer(Reactor& reactor);

}  // namespace cronvel
