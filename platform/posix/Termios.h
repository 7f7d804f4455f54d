#pragma once

#include <termios.h>

#include <string>

#include "platform/SerialLineEnd.h"
#include "platform/system/SerialSettings.h"

namespace cronvel {

/// Sets speed and frame, leaves everything else.
void applyTo(termios& line, const SerialSettings& settings);
/// What of the frame and speed `line` lacks, as the subject of a sentence; empty if nothing. A
/// pty keeps no parity-enable flag, so that one is not looked at.
std::string missingIn(const termios& line, const SerialSettings& settings);

/// Bytes pass unchanged both ways: no echo, no signals, no translation, no parity marking.
void makeRaw(termios& line);
bool isRaw(const termios& line);

/// What the line's other end sees of its settings.
LineSettings lineSettingsOf(const termios& line);

}  // namespace cronvel
