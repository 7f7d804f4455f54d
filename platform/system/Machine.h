#pragma once

#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/MsgBox.h"
#include "platform/SerialLineEnd.h"

/// What each system makes in its own way, beside sockets and serial devices.
namespace cronvel {

class Reactor;

std::unique_ptr<Clock> makeClock();
std::unique_ptr<MsgBox> makeMsgBox();
/// As `Platform::makeSerialLineEnd`.
std::unique_ptr<SerialLineEnd> makeSerialLineEnd(Reactor& reactor, const std::string& linkName);

/// A variable of the environment; empty where it is not set.
std::string environmentVariable(const std::string& name);
/// The machine's own device for a serial port's number.
std::string usualPortPath(std::int16_t number);

}  // namespace cronvel
