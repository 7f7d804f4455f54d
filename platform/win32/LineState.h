#pragma once

#include <windows.h>

#include <string>

#include "platform/system/SerialSettings.h"

namespace cronvel {

/// Speed and frame of the settings. Bytes pass unchanged both ways, without handshaking.
DCB lineStateOf(const SerialSettings& settings);
/// What of the settings `line` lacks, as the subject of a sentence; empty if nothing.
std::string missingIn(const DCB& line, const SerialSettings& settings);

}  // namespace cronvel
