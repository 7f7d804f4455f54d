#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/SerialPort.h"
#include "platform/reactor/Reactor.h"

namespace cronvel {

/// Says which device a port number stands for; asked at each opening.
using CommPortPath = std::function<std::string(std::int16_t number)>;

std::unique_ptr<SerialPort> makeSerialPort(Reactor& reactor, Clock& clock, CommPortPath path);

}  // namespace cronvel
