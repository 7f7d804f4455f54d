#pragma once

#include <windows.h>

#include <string>

#include "platform/system/SerialSettings.h"

namespace cronvel {

/// Speed and frame of the settings. Bytes pass unchanged both ways, without handshaking.
DCB lineStateOf(const SerialSettings& settings);
/// What of the settings the device has not taken, as the subject of a sentence; empty if nothing.
std::string missingIn(HANDLE device, const SerialSettings& settings);

}  // namespace cronvel
