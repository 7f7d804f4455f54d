#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/MsgBox.h"
#include "platform/SerialLineEnd.h"
#include "platform/SerialPort.h"
#include "platform/Socket.h"
#include "platform/Timer.h"
#include "platform/reactor/Reactor.h"

namespace cronvel {

class Network;

/// Says which device a port number stands for; asked at each opening.
using CommPortPath = std::function<std::string(std::int16_t number)>;

std::unique_ptr<SerialPort> makeSerialPort(Reactor& reactor, Clock& clock, CommPortPath path);
std::unique_ptr<SerialLineEnd> makeSerialLineEnd(Reactor& reactor, const std::string& linkName);
std::unique_ptr<SocketArray> makeSocketArray(Network& network);
std::unique_ptr<Timer> makeTimer(Reactor& reactor);
std::unique_ptr<Clock> makeClock();
std::unique_ptr<MsgBox> makeMsgBox();

}  // namespace cronvel
