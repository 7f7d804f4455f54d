#pragma once

#include <string>

#include "link/DeviceLinks.h"
#include "runtime/Variant.h"

namespace cronvel {

/// Reads a terminal's properties block, as `Cronvel::GetDeviceProperties` documents it.
Variant getDeviceProperties(const DeviceLinks& links, const std::u16string& sRemoteHost);

}  // namespace cronvel
